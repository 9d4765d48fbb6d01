// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/LocalizedString.h"
#include "Tests/Fakes/ScopedEnvironment.h"

#include <clocale>
#include <string>

namespace zelvane {

/// While it lives, the user's language is another one, with the program's own catalogues and no locale of the system's.
class UserLanguage {
  public:
    explicit UserLanguage(const std::string& language) : _environment({{"LC_ALL", "C.UTF-8"}, {"LANGUAGE", language}}) {
        initLocalization();
    }
    ~UserLanguage() { std::setlocale(LC_ALL, "C"); }
    UserLanguage(const UserLanguage&) = delete;
    UserLanguage& operator=(const UserLanguage&) = delete;

  private:
    const ScopedEnvironment _environment;
};

}  // namespace zelvane

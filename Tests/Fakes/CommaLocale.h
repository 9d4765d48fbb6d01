// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/ScopedEnvironment.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace zelvane {

/// While it lives, the process runs under a German locale, in which numbers have a comma. The locale is compiled into a
/// folder of its own from the sources of the package "locales", so the machine need not offer it.
class CommaLocale {
  public:
    CommaLocale() {
        const std::string locale = (_folder.path / "de_DE.UTF-8").string();
        EXPECT_EQ(std::system(("localedef --no-archive -i de_DE -f UTF-8 " + locale).c_str()), 0);
        EXPECT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
        char text[8];
        std::snprintf(text, sizeof text, "%.1f", 0.5);
        EXPECT_STREQ(text, "0,5");
    }

    ~CommaLocale() { std::setlocale(LC_ALL, "C"); }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

  private:
    const TemporaryFolder _folder;
    const ScopedEnvironment _environment{{{"LOCPATH", _folder.path}}};
};

}  // namespace zelvane

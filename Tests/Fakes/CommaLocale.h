// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace zelvane {

/// While it lives, the process runs under a German locale, in which numbers have a comma. The locale is compiled into a
/// folder of its own from the sources of the package "locales", so the machine need not offer it.
class CommaLocale {
  public:
    CommaLocale() {
        char folder[] = "/tmp/zelvane-locale-XXXXXX";
        _folder = mkdtemp(folder);
        const std::string locale = (_folder / "de_DE.UTF-8").string();
        EXPECT_EQ(std::system(("localedef --no-archive -i de_DE -f UTF-8 " + locale).c_str()), 0);
        setenv("LOCPATH", _folder.c_str(), 1);
        EXPECT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
        char text[8];
        std::snprintf(text, sizeof text, "%.1f", 0.5);
        EXPECT_STREQ(text, "0,5");
    }

    ~CommaLocale() {
        std::setlocale(LC_ALL, "C");
        unsetenv("LOCPATH");
        std::filesystem::remove_all(_folder);
    }

    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

  private:
    std::filesystem::path _folder;
};

}  // namespace zelvane

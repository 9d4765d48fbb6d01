// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <clocale>

namespace zelvane {

/// The locale in which numbers are read and written, whatever the user's says about points and commas. Any thread.
inline locale_t numberLocale() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

/// While it lives, libraries that ask the locale find the above on the calling thread.
class NumberLocaleScope {
  public:
    NumberLocaleScope() : _previous(uselocale(numberLocale())) {}
    ~NumberLocaleScope() { uselocale(_previous); }
    NumberLocaleScope(const NumberLocaleScope&) = delete;
    NumberLocaleScope& operator=(const NumberLocaleScope&) = delete;

  private:
    const locale_t _previous;
};

}  // namespace zelvane

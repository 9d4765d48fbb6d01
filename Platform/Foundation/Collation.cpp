// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Collation.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <cwctype>

namespace zelvane {

namespace {

// Bytes that are no text in the user's encoding are taken one by one, so that any two names can be compared.
std::wstring folded(const std::string& text) {
    std::wstring wide(text.size(), L'\0');
    const std::size_t length = std::mbstowcs(wide.data(), text.c_str(), wide.size());
    if (length == static_cast<std::size_t>(-1))
        wide.assign(text.begin(), text.end());
    else
        wide.resize(length);
    std::transform(wide.begin(), wide.end(), wide.begin(),
                   [](wchar_t c) { return static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(c))); });
    return wide;
}

}  // namespace

bool localizedCaseInsensitiveLess(const std::string& a, const std::string& b) {
    const int order = std::wcscoll(folded(a).c_str(), folded(b).c_str());
    return order != 0 ? order < 0 : a < b;
}

}  // namespace zelvane

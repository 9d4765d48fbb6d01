// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace zelvane {

/// Whether one text stands before the other in the user's language, upper and lower case being alike. Any thread.
bool localizedCaseInsensitiveLess(const std::string& a, const std::string& b);

}  // namespace zelvane

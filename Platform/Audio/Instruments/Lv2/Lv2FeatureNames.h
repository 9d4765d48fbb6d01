// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace zelvane {

/// Whether a feature that a plug-in may require is one that instances get here. Any thread.
bool isLv2Feature(const std::string& uri);

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/Desktop.h"

#include <memory>
#include <string>

namespace zelvane {

/// Loads the module with the desktop's part, which stands in a folder beside the program's own, and has it reach the
/// display. Null, with the reason, when there is no display or no such module. Main thread, once.
std::unique_ptr<Desktop> loadDesktop(const DesktopServices& services, std::string& reason);

}  // namespace zelvane

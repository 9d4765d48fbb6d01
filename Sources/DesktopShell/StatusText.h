// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/Shell.h"

#include <string>

namespace zelvane {

/// The player's state in the words of the status item's tooltip.
std::string statusText(const PlayerStatus& status);

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace zelvane {

/// What a platform operation returns: 0 is success, every other value a failure that has a name where it belongs.
using OSStatus = std::int32_t;

inline constexpr OSStatus kNoError = 0;

}  // namespace zelvane

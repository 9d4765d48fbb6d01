// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zelvane {

/// A device's name is read into a buffer of 64 bytes, its final zero included.
inline constexpr std::size_t kMaximumDeviceNameSize = 63;

/// The text cut to `size` bytes without leaving half a UTF-8 character.
std::string cutAtCharacter(std::string_view text, std::size_t size);

/// "PREFIX: TEXT", cut to the size of a device name; one that is among `taken` already gets a number behind it.
std::string uniqueDeviceName(std::string_view prefix, std::string_view text, const std::vector<std::string>& taken);

}  // namespace zelvane

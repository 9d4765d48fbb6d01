// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioHardware.h"

#include <cstddef>
#include <string>
#include <variant>
#include <vector>

namespace zelvane {

/// The value of a property: a text, a list of objects, or one value of a fixed size.
using PropertyValue = std::variant<std::string, std::vector<AudioObjectID>, std::uint32_t, AudioStreamBasicDescription>;

/// The value as properties carry it; a text ends with a zero.
std::vector<std::byte> bytesOf(const PropertyValue& value);

/// Copies what fits into `size` bytes and sets it to what was copied: of a text as many characters as have room before
/// the final zero, of a list whole elements. A fixed value fits whole or is refused.
OSStatus copyValue(const PropertyValue& value, std::uint32_t& size, void* data);

}  // namespace zelvane

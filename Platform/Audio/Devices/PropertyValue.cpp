// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/PropertyValue.h"

#include "Platform/Audio/Devices/DeviceName.h"

#include <algorithm>
#include <cstring>
#include <span>

namespace zelvane {

namespace {

std::vector<std::byte> copyOf(const void* data, std::size_t size) {
    std::vector<std::byte> bytes(size);
    if (size > 0) std::memcpy(bytes.data(), data, size);
    return bytes;
}

std::vector<std::byte> bytes(const std::string& text) {
    return copyOf(text.c_str(), text.size() + 1);
}
std::vector<std::byte> bytes(const std::vector<AudioObjectID>& list) {
    return copyOf(list.data(), list.size() * sizeof(AudioObjectID));
}
template <typename Fixed>
std::vector<std::byte> bytes(const Fixed& value) {
    return copyOf(&value, sizeof value);
}

/// The value cut to the size; nothing when it can't be cut.
std::vector<std::byte> cut(const std::string& text, std::size_t size) {
    return size > 0 ? bytes(cutAtCharacter(text, size - 1)) : std::vector<std::byte>();
}
std::vector<std::byte> cut(const std::vector<AudioObjectID>& list, std::size_t size) {
    const std::size_t count = std::min(list.size(), size / sizeof(AudioObjectID));
    return copyOf(list.data(), count * sizeof(AudioObjectID));
}
template <typename Fixed>
std::vector<std::byte> cut(const Fixed& value, std::size_t size) {
    return size >= sizeof value ? bytes(value) : std::vector<std::byte>();
}

}  // namespace

std::vector<std::byte> bytesOf(const PropertyValue& value) {
    return std::visit([](const auto& held) { return bytes(held); }, value);
}

OSStatus copyValue(const PropertyValue& value, std::uint32_t& size, void* data) {
    const std::vector<std::byte> fitting = std::visit([&](const auto& held) { return cut(held, size); }, value);
    const bool isList = std::holds_alternative<std::vector<AudioObjectID>>(value);
    if (data == nullptr || (fitting.empty() && !isList)) return kAudioHardwareBadPropertySizeError;
    if (!fitting.empty()) std::memcpy(data, fitting.data(), fitting.size());
    size = static_cast<std::uint32_t>(fitting.size());
    return kNoError;
}

}  // namespace zelvane

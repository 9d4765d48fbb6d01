// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/DeviceName.h"

#include <algorithm>

namespace zelvane {

std::string cutAtCharacter(std::string_view text, std::size_t size) {
    if (text.size() <= size) return std::string(text);
    const auto continuesCharacter = [&](std::size_t at) {
        return (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
    };
    while (size > 0 && continuesCharacter(size)) --size;
    return std::string(text.substr(0, size));
}

std::string uniqueDeviceName(std::string_view prefix, std::string_view text, const std::vector<std::string>& taken) {
    const std::string whole = std::string(prefix) + ": " + std::string(text);
    std::string name = cutAtCharacter(whole, kMaximumDeviceNameSize);
    for (int number = 2; std::ranges::find(taken, name) != taken.end(); ++number) {
        const std::string suffix = " (" + std::to_string(number) + ")";
        name = cutAtCharacter(whole, kMaximumDeviceNameSize - suffix.size()) + suffix;
    }
    return name;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Alsa/AlsaCards.h"

#include <fstream>
#include <string>

namespace zelvane {

namespace {

std::string firstLine(const std::filesystem::path& file) {
    std::string line;
    std::getline(std::ifstream(file), line);
    return line;
}

}  // namespace

AlsaCard readAlsaCard(const std::filesystem::path& cards, int number) {
    // A card's device is one interface of the USB device, which is the folder above.
    std::error_code error;
    const auto interface = std::filesystem::canonical(cards / ("card" + std::to_string(number)) / "device", error);
    if (error) return {};
    const auto device = interface.parent_path();
    const std::string vendor = firstLine(device / "idVendor");
    if (vendor.empty()) return {};
    return {{}, vendor, firstLine(device / "idProduct"), firstLine(device / "serial")};
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Alsa/AlsaPortKeys.h"

#include <map>
#include <regex>

namespace zelvane {

namespace {

/// Some programs put their process number into their name, and one that has chosen no name is called by its client
/// number.
std::string lastingName(const std::string& name, int process) {
    if (std::regex_match(name, std::regex("Client-[0-9]+"))) return "Client";
    if (process <= 0) return name;
    return std::regex_replace(name, std::regex("\\b" + std::to_string(process) + "\\b"), "");
}

std::string keyOfCard(const AlsaCard& card, int port) {
    const std::string place = ":" + std::to_string(port);
    if (card.vendor.empty()) return "card:" + card.name + place;
    // Without a serial number one device is as good as another of its kind.
    const std::string make = "usb:" + card.vendor + ":" + card.product + ":";
    return make + (card.serial.empty() ? card.name : card.serial) + place;
}

std::string keyOf(const AlsaPort& port) {
    if (port.card) return keyOfCard(*port.card, port.address.port);
    return "client:" + lastingName(port.clientName, port.process) + ":" + lastingName(port.name, port.process);
}

}  // namespace

std::vector<std::string> alsaPortKeys(const std::vector<AlsaPort>& ports) {
    std::map<std::string, int> occurrences;
    std::vector<std::string> keys;
    for (const AlsaPort& port : ports) {
        const std::string key = keyOf(port);
        keys.push_back(key + "/" + std::to_string(++occurrences[key]));
    }
    return keys;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Jack/JackMIDINames.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <string_view>
#include <vector>

namespace zelvane {

namespace {

std::vector<std::string> aliases(const JackLibrary& library, const jack_port_t* port) {
    const auto size = static_cast<std::size_t>(library.portNameSize()) + 1;
    std::array<std::vector<char>, 2> texts{std::vector<char>(size), std::vector<char>(size)};
    std::array<char*, 2> places{texts[0].data(), texts[1].data()};
    const int count = std::clamp(library.portAliases(port, places.data()), 0, 2);
    return {places.begin(), places.begin() + count};
}

/// PipeWire knows these by heart; JACK's own library would have to look them up in a file that processes lock.
std::string prettyName(const JackLibrary& library, const jack_port_t* port) {
    if (!library.isPipeWires || library.property == nullptr || library.portUuid == nullptr) return {};
    char* value = nullptr;
    char* type = nullptr;
    if (library.property(library.portUuid(port), "http://jackaudio.org/metadata/pretty-name", &value, &type) != 0) {
        return {};
    }
    std::string name = value != nullptr ? value : "";
    library.free(value);
    library.free(type);
    return name;
}

/// "DEVICE [20] (capture): PORT", as a bridge to the ALSA sequencer calls them; the number is the device's of today.
std::optional<JackMIDINames> bridgeNames(std::string_view client, std::string_view port) {
    constexpr std::string_view kNumberBegin = " [";
    const std::size_t number = port.find(kNumberBegin);
    const std::size_t numberEnd = port.find("] (", number);
    const std::size_t name = port.find("): ", numberEnd);
    if (!client.starts_with("a2j") || number == std::string_view::npos || numberEnd == std::string_view::npos ||
        name == std::string_view::npos)
        return {};
    const std::string_view digits = port.substr(number + kNumberBegin.size(), numberEnd - number - kNumberBegin.size());
    if (!std::ranges::all_of(digits, [](unsigned char each) { return std::isdigit(each) != 0; })) return {};
    const std::string device(port.substr(0, number));
    const std::string short_(port.substr(name + 3));
    return JackMIDINames{device, short_, device + ":" + short_};
}

}  // namespace

JackMIDINames jackMIDINames(const JackClient& client, const std::string& fullName) {
    const JackLibrary& library = client.library();
    const jack_port_t* port = library.portByName(client.handle(), fullName.c_str());
    const std::string owner = client.ownerOf(fullName);
    JackMIDINames names{owner, fullName.substr(std::min(fullName.size(), owner.size() + 1)), fullName};
    if (port == nullptr) return names;
    if (auto bridged = bridgeNames(names.device, names.port)) return *bridged;
    // The last alias is the one that was made of the device's and the port's own names; one before it is made of
    // numbers. Ports of devices have numbers for names, too.
    const std::vector<std::string> known = aliases(library, port);
    const bool isDevices = (static_cast<unsigned>(library.portFlags(port)) & JackPortIsPhysical) != 0;
    const std::size_t colon = known.empty() ? std::string::npos : known.back().find(':');
    if (colon != std::string::npos && (isDevices || library.isPipeWires)) names.key = known.back();
    if (colon != std::string::npos && isDevices) {
        names.device = known.back().substr(0, colon);
        names.port = known.back().substr(colon + 1);
    }
    if (std::string pretty = prettyName(library, port); !pretty.empty()) names.port = std::move(pretty);
    return names;
}

}  // namespace zelvane

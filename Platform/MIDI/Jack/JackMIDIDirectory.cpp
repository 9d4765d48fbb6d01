// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Jack/JackMIDIDirectory.h"

#include "Platform/MIDI/Jack/JackMIDINames.h"

#include <algorithm>
#include <iterator>

namespace zelvane {

namespace {

/// All ports for MIDI of a direction, as far as they are others'. What another gives out is a source for us.
std::vector<std::string> othersPorts(const JackClient& client, MIDIDirection direction) {
    const auto flag = direction == MIDIDirection::source ? JackPortIsOutput : JackPortIsInput;
    std::vector<std::string> names = client.ports(JACK_DEFAULT_MIDI_TYPE, static_cast<unsigned long>(flag));
    std::erase_if(names, [&](const std::string& name) {
        const jack_port_t* port = client.library().portByName(client.handle(), name.c_str());
        return port == nullptr || client.library().portIsMine(client.handle(), port) != 0;
    });
    return names;
}

}  // namespace

void JackMIDIDirectory::begin(const JackClient& client) {
    ++_server;
    _appearances.clear();
    for (const MIDIDirection direction : {MIDIDirection::source, MIDIDirection::destination}) {
        for (const std::string& name : othersPorts(client, direction)) {
            portCame(client, client.library().portByName(client.handle(), name.c_str()));
        }
    }
}

void JackMIDIDirectory::portCame(const JackClient& client, const jack_port_t* port) {
    if (port != nullptr) ++_appearances[identity(client, port)];
}

/// JACK's own server gives a port the number of the next one that takes its place.
std::string JackMIDIDirectory::identity(const JackClient& client, const jack_port_t* port) {
    const JackLibrary& library = client.library();
    if (library.portUuid != nullptr) return std::to_string(library.portUuid(port));
    const char* name = library.portName(port);
    return name != nullptr ? name : "";
}

/// A port can be seen before the server tells of it: it then counts as the first of its number.
std::string JackMIDIDirectory::addressOf(const JackClient& client, const jack_port_t* port) const {
    const std::string number = identity(client, port);
    const auto known = _appearances.find(number);
    const std::uint64_t appearance = known != _appearances.end() ? known->second : 1;
    return number + "#" + std::to_string(_server) + "." + std::to_string(appearance);
}

std::vector<JackMIDIDirectory::Port> JackMIDIDirectory::list(const JackClient& client) const {
    std::vector<Port> all = list(client, MIDIDirection::source);
    std::ranges::move(list(client, MIDIDirection::destination), std::back_inserter(all));
    return all;
}

std::vector<JackMIDIDirectory::Port> JackMIDIDirectory::list(const JackClient& client, MIDIDirection direction) const {
    std::vector<Port> ports;
    std::map<std::string, int> occurrences;
    for (std::string& fullName : othersPorts(client, direction)) {
        const jack_port_t* port = client.library().portByName(client.handle(), fullName.c_str());
        if (port == nullptr) continue;
        JackMIDINames names = jackMIDINames(client, fullName);
        const int occurrence = ++occurrences[names.key];
        std::string key = "jack:" + names.key + (occurrence > 1 ? " #" + std::to_string(occurrence) : std::string());
        ports.push_back({{.direction = direction,
                          .address = addressOf(client, port),
                          .key = std::move(key),
                          .name = std::move(names.port),
                          .deviceName = std::move(names.device),
                          .driver = {}},
                         std::move(fullName)});
    }
    return ports;
}

std::optional<std::string> JackMIDIDirectory::find(const JackClient& client, MIDIDirection direction,
                                                   const std::string& address) const {
    for (std::string& name : othersPorts(client, direction)) {
        const jack_port_t* port = client.library().portByName(client.handle(), name.c_str());
        if (port != nullptr && addressOf(client, port) == address) return std::move(name);
    }
    return {};
}

}  // namespace zelvane

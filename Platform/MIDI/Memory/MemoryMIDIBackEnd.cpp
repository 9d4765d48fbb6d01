// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Memory/MemoryMIDIBackEnd.h"

#include "Platform/Foundation/RunLoop.h"

#include <algorithm>

namespace zelvane {

std::string MemoryMIDIBackEnd::plugIn(MIDIDirection direction, const std::string& deviceName, const std::string& name,
                                      const std::string& driver) {
    const std::lock_guard lock(_mutex);
    const std::string address = name + "@" + std::to_string(++_appearances);
    _ports.push_back({direction, address, deviceName + "/" + name, name, deviceName, driver});
    if (_listener != nullptr) _listener->setupChanged();
    return address;
}

void MemoryMIDIBackEnd::unplug(const std::string& address) {
    const std::lock_guard lock(_mutex);
    std::erase_if(_ports, [&](const auto& port) { return port.address == address; });
    for (auto& [id, line] : _lines) {
        if (line.address == address) endNotes(id, line);
    }
    if (_listener != nullptr) _listener->setupChanged();
}

void MemoryMIDIBackEnd::endNotes(MIDILineID id, Line& line) {
    const auto endings = line.notes.takeEndings();
    const MIDIPacket packet{RunLoop::now(), endings};
    if (!endings.empty()) _listener->received(id, {&packet, 1});
}

bool MemoryMIDIBackEnd::play(const std::string& address, const std::vector<std::uint8_t>& bytes, TimePoint time) {
    const std::lock_guard lock(_mutex);
    bool isHeard = false;
    for (auto& [id, line] : _lines) {
        if (line.address != address || !has(address)) continue;
        const MIDIPacket packet{time, bytes};
        line.notes.follow(bytes);
        _listener->received(id, {&packet, 1});
        isHeard = true;
    }
    return isHeard;
}

bool MemoryMIDIBackEnd::playTo(const std::string& virtualName, const std::vector<std::vector<std::uint8_t>>& packets,
                               TimePoint time) {
    const std::lock_guard lock(_mutex);
    const auto port = std::ranges::find_if(_virtuals, [&](const auto& entry) {
        return entry.second.name == virtualName && entry.second.direction == MIDIDirection::destination;
    });
    if (port == _virtuals.end()) return false;
    std::vector<MIDIPacket> list;
    for (const auto& bytes : packets) list.push_back({time, bytes});
    for (const auto& bytes : packets) _lines[port->first].notes.follow(bytes);
    _listener->received(port->first, list);
    return true;
}

std::vector<MemoryMIDIBackEnd::Sent> MemoryMIDIBackEnd::sent() const {
    const std::lock_guard lock(_mutex);
    return _sent;
}

std::vector<MemoryMIDIBackEnd::Virtual> MemoryMIDIBackEnd::virtuals() const {
    const std::lock_guard lock(_mutex);
    std::vector<Virtual> all;
    for (const auto& [id, port] : _virtuals) all.push_back(port);
    return all;
}

std::size_t MemoryMIDIBackEnd::openLines() const {
    const std::lock_guard lock(_mutex);
    return _lines.size();
}

bool MemoryMIDIBackEnd::open(MIDIBackEndListener& listener, Error& error) {
    if (isAvailable) {
        _listener = &listener;
    } else {
        error = {"MIDIBackEnd", 1, "it is not there"};
    }
    return isAvailable;
}

std::vector<MIDIPortDescription> MemoryMIDIBackEnd::ports() {
    const std::lock_guard lock(_mutex);
    return _ports;
}

bool MemoryMIDIBackEnd::has(const std::string& address) const {
    return std::ranges::any_of(_ports, [&](const auto& port) { return port.address == address; });
}

bool MemoryMIDIBackEnd::connectSource(MIDILineID line, const std::string& address) {
    const std::lock_guard lock(_mutex);
    return has(address) && _lines.emplace(line, Line{address}).second;
}

bool MemoryMIDIBackEnd::createVirtual(MIDILineID line, MIDIDirection direction, const std::string& name) {
    const std::lock_guard lock(_mutex);
    _virtuals[line] = {direction, name};
    return _lines.emplace(line, Line{}).second;
}

bool MemoryMIDIBackEnd::renameVirtual(MIDILineID line, const std::string& name) {
    const std::lock_guard lock(_mutex);
    const auto port = _virtuals.find(line);
    if (port == _virtuals.end()) return false;
    port->second.name = name;
    return true;
}

void MemoryMIDIBackEnd::close(MIDILineID line) {
    const std::lock_guard lock(_mutex);
    const auto entry = _lines.find(line);
    if (entry == _lines.end()) return;
    endNotes(line, entry->second);
    _lines.erase(entry);
    _virtuals.erase(line);
}

bool MemoryMIDIBackEnd::send(const std::string& address, MIDIPacketList packets) {
    const std::lock_guard lock(_mutex);
    if (has(address)) keep(address, packets);
    return has(address);
}

bool MemoryMIDIBackEnd::emit(MIDILineID line, MIDIPacketList packets) {
    const std::lock_guard lock(_mutex);
    if (!_virtuals.contains(line)) return false;
    keep(_virtuals[line].name, packets);
    return true;
}

void MemoryMIDIBackEnd::keep(const std::string& address, MIDIPacketList packets) {
    for (const MIDIPacket& packet : packets) _sent.push_back({address, {packet.data.begin(), packet.data.end()}});
}

}  // namespace zelvane

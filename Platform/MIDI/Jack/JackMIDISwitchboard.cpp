// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Jack/JackMIDISwitchboard.h"

#include <algorithm>
#include <utility>

namespace zelvane {

using News = JackMIDIClient::News;

bool JackMIDISwitchboard::hasClient() {
    const std::lock_guard lock(_mutex);
    return _client != nullptr;
}

void JackMIDISwitchboard::setClient(std::unique_ptr<JackMIDIClient> client) {
    {
        const std::lock_guard lock(_mutex);
        _client = std::move(client);
        _directory.begin(_client->jack());
        for (auto& [id, line] : _lines) makePort(id, line);
        _isSetupChanged = true;
    }
    _queues.midiThread.post();
}

std::unique_ptr<JackMIDIClient> JackMIDISwitchboard::takeDeadClient() {
    std::unique_ptr<JackMIDIClient> dead;
    {
        const std::lock_guard lock(_mutex);
        if (!_client || !_client->isDead()) return nullptr;
        dead = std::move(_client);
        for (auto& [id, line] : _lines) line.port = nullptr;
        _destinations.clear();
        _isServerLost = _isSetupChanged = true;
    }
    _queues.midiThread.post();
    return dead;
}

void JackMIDISwitchboard::upkeep() {
    JackMIDIClient* client = nullptr;
    {
        const std::lock_guard lock(_mutex);
        if (!isServed()) return;
        client = _client.get();
    }
    client->upkeep();
    setPrettyNames(*client);
}

/// Without the lock where JACK may have to wait for others: only this thread would close the client meanwhile.
void JackMIDISwitchboard::setPrettyNames(const JackMIDIClient& client) {
    std::vector<std::pair<jack_uuid_t, std::string>> news;
    {
        const std::lock_guard lock(_mutex);
        for (auto& [id, line] : _lines) {
            if (!line.direction || line.port == nullptr || !std::exchange(line.isNameNews, false)) continue;
            if (const auto uuid = client.jack().uuidOf(line.port)) news.emplace_back(*uuid, line.name);
        }
    }
    for (const auto& [port, name] : news) client.jack().setPrettyName(port, name);
}

// What the MIDI thread asks.

std::optional<JackMIDIChanges> JackMIDISwitchboard::collectChanges() {
    const std::unique_lock lock(_mutex, std::try_to_lock);
    if (!lock) return {};
    JackMIDIChanges changes{.isServerLost = std::exchange(_isServerLost, false),
                            .isSetupChanged = std::exchange(_isSetupChanged, false),
                            .wires = {}};
    if (!isServed()) return changes;
    for (const News& news : _client->takeNews()) apply(news, changes);
    return changes;
}

void JackMIDISwitchboard::apply(const News& news, JackMIDIChanges& changes) {
    if (news.kind == News::Kind::connected || news.kind == News::Kind::disconnected) {
        applyWire(news, changes);
        return;
    }
    const JackLibrary& library = _client->jack().library();
    const jack_port_t* port = library.portById(_client->jack().handle(), news.port);
    if (news.kind == News::Kind::portWent) {
        _haveDestinationsGone = true;
    } else if (port != nullptr && library.portIsMine(_client->jack().handle(), port) != 0) {
        return;
    } else if (news.kind == News::Kind::portCame) {
        _directory.portCame(_client->jack(), port);
    }
    changes.isSetupChanged = true;
}

void JackMIDISwitchboard::applyWire(const News& news, JackMIDIChanges& changes) {
    const JackClient& jack = _client->jack();
    const jack_port_t* source = jack.library().portById(jack.handle(), news.port);
    const jack_port_t* destination = jack.library().portById(jack.handle(), news.otherPort);
    for (const auto& [id, line] : _lines) {
        if (line.port == nullptr || (line.port != source && line.port != destination)) continue;
        changes.wires.push_back({id, news.kind == News::Kind::connected});
    }
}

// Lines.

std::vector<MIDIPortDescription> JackMIDISwitchboard::ports() {
    const std::lock_guard lock(_mutex);
    std::vector<MIDIPortDescription> descriptions;
    if (!isServed()) return descriptions;
    for (auto& port : _directory.list(_client->jack())) descriptions.push_back(std::move(port.description));
    return descriptions;
}

bool JackMIDISwitchboard::connectSource(MIDILineID id, const std::string& address) {
    const std::lock_guard lock(_mutex);
    if (!isServed()) return false;
    const auto source = _directory.find(_client->jack(), MIDIDirection::source, address);
    if (!source) return false;
    jack_port_t* port = _client->addInput(id, "in " + std::to_string(id));
    if (port == nullptr) return false;
    if (!_client->connect(*source, fullNameOf(port))) {
        _client->remove(port);
        return false;
    }
    _lines[id] = {.direction = {}, .name = *source, .port = port};
    return true;
}

bool JackMIDISwitchboard::createVirtual(MIDILineID id, MIDIDirection direction, const std::string& name) {
    const std::lock_guard lock(_mutex);
    Line line{.direction = direction, .name = name};
    if (isServed()) {
        makePort(id, line);
        // A server that is just going away has no ports to give; the next one has.
        if (line.port == nullptr && !_client->isDead()) return false;
    }
    _lines[id] = std::move(line);
    return true;
}

void JackMIDISwitchboard::makePort(MIDILineID id, Line& line) {
    line.isNameNews = true;
    if (line.direction == MIDIDirection::destination) {
        line.port = _client->addInput(id, line.name);
    } else if (line.direction == MIDIDirection::source) {
        line.output = ++_lastOutput;
        line.port = _client->addOutput(line.output, line.name);
    }
}

bool JackMIDISwitchboard::renameVirtual(MIDILineID id, const std::string& name) {
    const std::lock_guard lock(_mutex);
    const auto entry = _lines.find(id);
    if (entry == _lines.end() || !entry->second.direction) return false;
    Line& line = entry->second;
    line.name = name;
    line.isNameNews = true;
    return !isServed() || line.port == nullptr || _client->rename(line.port, name);
}

void JackMIDISwitchboard::close(MIDILineID id) {
    const std::lock_guard lock(_mutex);
    const auto entry = _lines.find(id);
    if (entry == _lines.end()) return;
    if (_client && entry->second.port != nullptr) _client->remove(entry->second.port);
    _lines.erase(entry);
}

// Sending.

bool JackMIDISwitchboard::emit(MIDILineID id, MIDIPacketList packets) {
    const std::lock_guard lock(_mutex);
    const auto entry = _lines.find(id);
    if (!isServed() || entry == _lines.end() || entry->second.port == nullptr) return false;
    return entry->second.direction == MIDIDirection::source && push(entry->second.output, packets);
}

bool JackMIDISwitchboard::send(const std::string& address, MIDIPacketList packets) {
    const std::lock_guard lock(_mutex);
    if (!isServed()) return false;
    const Destination* target = destination(address);
    return target != nullptr && push(target->output, packets);
}

JackMIDISwitchboard::Destination* JackMIDISwitchboard::destination(const std::string& address) {
    if (std::exchange(_haveDestinationsGone, false)) forgetGoneDestinations();
    const auto known = _destinations.find(address);
    return known != _destinations.end() ? &known->second : connectDestination(address);
}

JackMIDISwitchboard::Destination* JackMIDISwitchboard::connectDestination(const std::string& address) {
    const auto name = _directory.find(_client->jack(), MIDIDirection::destination, address);
    if (!name) return nullptr;
    const std::uint32_t output = ++_lastOutput;
    jack_port_t* port = _client->addOutput(output, "out " + std::to_string(output));
    if (port == nullptr) return nullptr;
    if (!_client->connect(fullNameOf(port), *name)) {
        _client->remove(port);
        return nullptr;
    }
    waitForWire(port, *name);
    return &(_destinations[address] = {port, output});
}

/// What is written before the wire carries is lost: it does from the beginning of a cycle on.
void JackMIDISwitchboard::waitForWire(const jack_port_t* from, const std::string& to) const {
    constexpr auto kLongest = std::chrono::milliseconds(200);
    const TimePoint end = Clock::monotonic().now() + kLongest;
    const JackLibrary& library = _client->jack().library();
    const auto wait = [&](const auto& isDone) {
        while (!isDone() && Clock::monotonic().now() < end) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    };
    wait([&] { return library.portConnectedTo(from, to.c_str()) != 0; });
    const std::uint64_t cycle = _queues.cycles.load(std::memory_order_acquire);
    wait([&] { return _queues.cycles.load(std::memory_order_acquire) >= cycle + 2; });
    // PipeWire shows a wire before it carries, and does not tell when it does.
    if (library.isPipeWires) std::this_thread::sleep_for(std::chrono::milliseconds(50));
}

void JackMIDISwitchboard::forgetGoneDestinations() {
    const auto present = _directory.list(_client->jack());
    std::erase_if(_destinations, [&](const auto& entry) {
        const bool isThere =
            std::ranges::any_of(present, [&](const auto& port) { return port.description.address == entry.first; });
        if (!isThere) _client->remove(entry.second.port);
        return !isThere;
    });
}

/// JACK wants each message by itself.
bool JackMIDISwitchboard::push(std::uint32_t output, MIDIPacketList packets) {
    MessageAssembler assembler;
    bool areAllTaken = true;
    for (const MIDIPacket& packet : packets) {
        assembler.add(packet.data, [&](std::span<const std::uint8_t> message) {
            areAllTaken = _queues.output.push({output, packet.timeStamp, message}) && areAllTaken;
        });
    }
    return areAllTaken;
}

std::string JackMIDISwitchboard::fullNameOf(const jack_port_t* port) const {
    const char* name = _client->jack().library().portName(port);
    return name != nullptr ? name : "";
}

}  // namespace zelvane

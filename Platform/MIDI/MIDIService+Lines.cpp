// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/MIDIService.h"

#include <algorithm>
#include <utility>

namespace zelvane {

// No lock is held while the back end closes a line: it waits for a reader that runs, and that may send.

void MIDIService::received(MIDILineID line, MIDIPacketList packets) {
    Reader reader;
    {
        const std::lock_guard lock(_readersMutex);
        const auto entry = _readers.find(line);
        if (entry == _readers.end()) return;
        reader = entry->second;
    }
    if (reader.read != nullptr) reader.read(packets, reader.context, reader.sourceContext);
}

MIDILineID MIDIService::addReader(const Reader& reader) {
    const std::lock_guard lock(_readersMutex);
    _readers.emplace(++_lastLine, reader);
    return _lastLine;
}

void MIDIService::closeLine(MIDILineID line) {
    _backEnd->close(line);
    const std::lock_guard lock(_readersMutex);
    _readers.erase(line);
}

OSStatus MIDIService::createPort(MIDIObjectRef client, MIDIReadProc read, void* context, MIDIObjectRef& port) {
    if (client == 0 || client != _client) return kMIDIInvalidClient;
    const std::lock_guard lock(_objectsMutex);
    port = _objects.add({});
    _ports.emplace(port, Reader{read, context, nullptr});
    return kNoError;
}

OSStatus MIDIService::connect(MIDIObjectRef port, MIDIObjectRef source, void* sourceContext) {
    const auto entry = _ports.find(port);
    if (entry == _ports.end()) return kMIDIInvalidPort;
    const auto external = std::ranges::find(_externals, source, &External::endpoint);
    if (external == _externals.end()) return kMIDIUnknownEndpoint;
    if (external->description.direction != MIDIDirection::source) return kMIDIWrongEndpointType;
    const MIDILineID line = addReader({entry->second.read, entry->second.context, sourceContext});
    if (!_backEnd->connectSource(line, external->description.address)) {
        closeLine(line);
        return kMIDIUnknownEndpoint;
    }
    _connections.push_back({port, source, line});
    return kNoError;
}

OSStatus MIDIService::disconnect(MIDIObjectRef port, MIDIObjectRef source) {
    return closeWhere([&](const Connection& each) { return each.port == port && each.source == source; });
}

OSStatus MIDIService::disposePort(MIDIObjectRef port) {
    if (_ports.erase(port) == 0) return kMIDIInvalidPort;
    closeWhere([&](const Connection& each) { return each.port == port; });
    const std::lock_guard lock(_objectsMutex);
    _objects.remove(port);
    return kNoError;
}

OSStatus MIDIService::closeWhere(const std::function<bool(const Connection&)>& isMeant) {
    const auto first = std::stable_partition(_connections.begin(), _connections.end(), std::not_fn(isMeant));
    const std::vector<Connection> closed(first, _connections.end());
    _connections.erase(first, _connections.end());
    for (const Connection& connection : closed) closeLine(connection.line);
    return closed.empty() ? kMIDIUnknownEndpoint : kNoError;
}

OSStatus MIDIService::createVirtual(MIDIObjectRef client, MIDIDirection direction, const std::string& name,
                                    MIDIReadProc read, void* context, MIDIObjectRef& endpoint) {
    if (client == 0 || client != _client) return kMIDIInvalidClient;
    const MIDILineID line = addReader({read, context, nullptr});
    if (!_backEnd->createVirtual(line, direction, name)) {
        closeLine(line);
        return kMIDIServerStartErr;
    }
    const bool isSource = direction == MIDIDirection::source;
    const std::lock_guard lock(_objectsMutex);
    endpoint = _objects.add({isSource ? MIDIObjectType::source : MIDIObjectType::destination, 0, {}});
    _objects.setProperty(endpoint, kMIDIPropertyName, name);
    _virtualLines.emplace(endpoint, line);
    return kNoError;
}

OSStatus MIDIService::disposeVirtual(MIDIObjectRef endpoint) {
    MIDILineID line = 0;
    {
        const std::lock_guard lock(_objectsMutex);
        const auto entry = _virtualLines.find(endpoint);
        if (entry == _virtualLines.end()) return kMIDIUnknownEndpoint;
        line = entry->second;
        _virtualLines.erase(entry);
        _objects.remove(endpoint);
    }
    closeLine(line);
    return kNoError;
}

OSStatus MIDIService::send(MIDIObjectRef destination, MIDIPacketList packets) {
    std::string address;
    {
        const std::lock_guard lock(_objectsMutex);
        const auto external = std::ranges::find(_externals, destination, &External::endpoint);
        if (external == _externals.end()) return kMIDIUnknownEndpoint;
        if (external->description.direction != MIDIDirection::destination) return kMIDIWrongEndpointType;
        address = external->description.address;
    }
    return _backEnd->send(address, packets) ? kNoError : kMIDIUnknownEndpoint;
}

OSStatus MIDIService::emit(MIDIObjectRef source, MIDIPacketList packets) {
    MIDILineID line = 0;
    {
        const std::lock_guard lock(_objectsMutex);
        const auto entry = _virtualLines.find(source);
        if (entry == _virtualLines.end()) return kMIDIUnknownEndpoint;
        line = entry->second;
    }
    return _backEnd->emit(line, packets) ? kNoError : kMIDIUnknownEndpoint;
}

}  // namespace zelvane

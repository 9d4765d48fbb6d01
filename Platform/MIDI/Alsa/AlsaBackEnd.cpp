// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Alsa/AlsaBackEnd.h"

#include "Platform/MIDI/Alsa/AlsaGenerations.h"
#include "Platform/MIDI/Alsa/AlsaOutput.h"
#include "Platform/MIDI/Alsa/AlsaPortKeys.h"
#include "Platform/MIDI/Alsa/AlsaReader.h"
#include "Platform/MIDI/Alsa/AlsaSequencer.h"

#include <utility>

namespace zelvane {

namespace {

constexpr unsigned kOursAlone = SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_NO_EXPORT;
constexpr unsigned kForAll = SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE;
/// The kernel's own passage from program to program, which is to be told from devices.
std::string driverOf(const AlsaPort& port) {
    const bool isBetweenPrograms = port.isKernels && !port.card && port.clientName == "Midi Through";
    return isBetweenPrograms ? "com.apple.AppleMIDIIACDriver" : "";
}

}  // namespace

AlsaBackEnd::AlsaBackEnd(std::string clientName) : _clientName(std::move(clientName)) {}
AlsaBackEnd::~AlsaBackEnd() = default;

bool AlsaBackEnd::open(MIDIBackEndListener& listener, Error& error) {
    _sequencer = AlsaSequencer::open(_clientName, error);
    if (!_sequencer) return false;
    _generations = std::make_unique<AlsaGenerations>();
    _output = std::make_unique<AlsaOutput>(*_sequencer, *_generations);
    _reader = std::make_unique<AlsaReader>(*_sequencer, *_generations, listener);
    const int port = _sequencer->createPort("Announcements", kOursAlone);
    _sequencer->connect({SND_SEQ_CLIENT_SYSTEM, SND_SEQ_PORT_SYSTEM_ANNOUNCE}, {_sequencer->client(), port});
    return true;
}

std::vector<MIDIPortDescription> AlsaBackEnd::ports() {
    std::vector<MIDIPortDescription> descriptions;
    addPorts(MIDIDirection::source, descriptions);
    addPorts(MIDIDirection::destination, descriptions);
    return descriptions;
}

void AlsaBackEnd::addPorts(MIDIDirection direction, std::vector<MIDIPortDescription>& descriptions) const {
    auto ports = _sequencer->ports();
    std::erase_if(ports, [direction](const AlsaPort& port) {
        return direction == MIDIDirection::source ? !port.isSource : !port.isDestination;
    });
    const auto keys = alsaPortKeys(ports);
    for (std::size_t place = 0; place < ports.size(); ++place) {
        const AlsaPort& port = ports[place];
        descriptions.push_back({direction, _generations->addressOf(port.address), keys[place], port.name,
                                port.clientName, driverOf(port)});
    }
}

bool AlsaBackEnd::connectSource(MIDILineID line, const std::string& address) {
    const auto source = _generations->find(address);
    if (!source) return false;
    const int port = _reader->addLine(line, "Input", kOursAlone);
    if (port < 0) return false;
    _inputs.emplace(line, port);
    if (_reader->connect(*source, port)) return true;
    close(line);
    return false;
}

bool AlsaBackEnd::createVirtual(MIDILineID line, MIDIDirection direction, const std::string& name) {
    if (direction == MIDIDirection::source) return _output->addSource(line, name);
    const int port = _reader->addLine(line, name, kForAll);
    if (port >= 0) _inputs.emplace(line, port);
    return port >= 0;
}

bool AlsaBackEnd::renameVirtual(MIDILineID line, const std::string& name) {
    const auto entry = _inputs.find(line);
    return entry == _inputs.end() ? _output->renameSource(line, name) : _sequencer->renamePort(entry->second, name);
}

void AlsaBackEnd::close(MIDILineID line) {
    const auto entry = _inputs.find(line);
    if (entry == _inputs.end()) return _output->removeSource(line);
    _reader->endLine(entry->second);
    _inputs.erase(entry);
}

bool AlsaBackEnd::send(const std::string& address, MIDIPacketList packets) {
    return _output->send(address, packets);
}

bool AlsaBackEnd::emit(MIDILineID line, MIDIPacketList packets) {
    return _output->emit(line, packets);
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Alsa/AlsaOutput.h"

#include <new>

namespace zelvane {

namespace {

// Longer system exclusive messages go out in pieces, which fit into any receiver's room.
constexpr std::size_t kPiece = 256;
constexpr AlsaAddress kAllWhoListen{SND_SEQ_ADDRESS_SUBSCRIBERS, SND_SEQ_ADDRESS_UNKNOWN};

}  // namespace

AlsaOutput::AlsaOutput(const AlsaSequencer& sequencer, const AlsaGenerations& generations)
    : _sequencer(sequencer), _generations(generations) {
    snd_midi_event_t* encoder = nullptr;
    if (snd_midi_event_new(kPiece, &encoder) < 0) throw std::bad_alloc();
    _encoder.reset(encoder);
}

bool AlsaOutput::addSource(MIDILineID line, const std::string& name) {
    const int port = _sequencer.createPort(name, SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ);
    const std::lock_guard lock(_mutex);
    if (port >= 0) _sources.emplace(line, port);
    return port >= 0;
}

bool AlsaOutput::renameSource(MIDILineID line, const std::string& name) {
    const std::lock_guard lock(_mutex);
    const auto entry = _sources.find(line);
    return entry != _sources.end() && _sequencer.renamePort(entry->second, name);
}

void AlsaOutput::removeSource(MIDILineID line) {
    const std::lock_guard lock(_mutex);
    const auto entry = _sources.find(line);
    if (entry == _sources.end()) return;
    _sequencer.deletePort(entry->second);
    _sources.erase(entry);
}

bool AlsaOutput::send(const std::string& address, MIDIPacketList packets) {
    const auto destination = _generations.find(address);
    if (!destination) return false;
    const std::lock_guard lock(_mutex);
    return isReady(address, *destination) && sendAll(_port, *destination, packets);
}

bool AlsaOutput::emit(MIDILineID line, MIDIPacketList packets) {
    const std::lock_guard lock(_mutex);
    const auto entry = _sources.find(line);
    return entry != _sources.end() && sendAll(entry->second, kAllWhoListen, packets);
}

/// A device takes nothing before somebody has connected to it.
bool AlsaOutput::isReady(const std::string& address, AlsaAddress destination) {
    if (_port < 0) _port = _sequencer.createPort("Output", SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_NO_EXPORT);
    if (_connected[destination] == address) return true;
    if (_port < 0 || !_sequencer.connect({_sequencer.client(), _port}, destination)) return false;
    _connected[destination] = address;
    return true;
}

bool AlsaOutput::sendAll(int port, AlsaAddress destination, MIDIPacketList packets) {
    bool isSent = true;
    for (const MIDIPacket& packet : packets) isSent = sendBytes(port, destination, packet.data) && isSent;
    if (!isSent) _connected.erase(destination);
    return isSent;
}

bool AlsaOutput::sendBytes(int port, AlsaAddress destination, std::span<const std::uint8_t> bytes) {
    snd_midi_event_reset_encode(_encoder.get());
    bool isSent = true;
    while (!bytes.empty()) {
        snd_seq_event_t event{};
        const long taken = snd_midi_event_encode(_encoder.get(), bytes.data(), static_cast<long>(bytes.size()), &event);
        if (taken <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(taken));
        if (event.type == SND_SEQ_EVENT_NONE) continue;
        event.source.port = static_cast<unsigned char>(port);
        event.dest = {static_cast<unsigned char>(destination.client), static_cast<unsigned char>(destination.port)};
        event.queue = SND_SEQ_QUEUE_DIRECT;
        isSent = snd_seq_event_output_direct(_sequencer.handle(), &event) >= 0 && isSent;
    }
    return isSent;
}

}  // namespace zelvane

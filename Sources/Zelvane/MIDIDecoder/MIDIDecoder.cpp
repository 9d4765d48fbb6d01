// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/MIDIDecoder/MIDIDecoder.h"

#include "Sources/Zelvane/AudioEngine/AudioEngine.h"

#include <array>
#include <cstddef>
#include <utility>

namespace zelvane {

namespace {

constexpr std::uint8_t kFirstStatus = 0x80;
constexpr std::uint8_t kFirstRealTime = 0xF8;

}  // namespace

/// Collects the bytes of one message until the next status byte.
class MIDIDecoder::MessageCutter {
  public:
    explicit MessageCutter(MIDIDecoder& decoder) : _decoder(decoder) {}

    void take(const MIDIPacket& packet) {
        for (const std::uint8_t byte : packet.data) takeByte(byte, packet.timeStamp);
    }

    void finish() {
        if (_count > 0) _decoder.send(std::span(_buffer).first(_count), _arrival);
        _count = 0;
    }

  private:
    void takeByte(std::uint8_t byte, TimePoint time) {
        if (byte >= kFirstRealTime) return;
        if (byte >= kFirstStatus) finish();
        if (_count == 0) _arrival = time;
        if (_count < _buffer.size()) _buffer[_count++] = byte;
    }

    MIDIDecoder& _decoder;
    std::array<std::uint8_t, MidiMessageObject::kCapacity> _buffer;
    std::size_t _count = 0;
    TimePoint _arrival{};
};

MIDIDecoder::MIDIDecoder(const Collaborators& collaborators)
    : _audioEngine(collaborators.audioEngine),
      _playerThread(collaborators.playerThread),
      _application(collaborators.application),
      _statusChecker(collaborators.statusChecker),
      _scala(collaborators.defaults,
             [&application = _application](const Error& error) { presentErrorWaiting(application, error); }) {}

void MIDIDecoder::processMIDIPacketList(MIDIPacketList packets, PYMIDIEndpoint& /*sender*/) {
    if (!_audioEngine.isListening() || !_audioEngine.allMicroUnitsAreSetUp()) return;
    checkStatus();
    MessageCutter cutter(*this);
    for (const MIDIPacket& packet : packets) cutter.take(packet);
    cutter.finish();
}

void MIDIDecoder::checkStatus() {
    _application.mainRunLoop().perform([&checker = _statusChecker] { checker.checkStatus(); });
}

void MIDIDecoder::send(std::span<const std::uint8_t> message, TimePoint arrival) {
    _playerThread.performAt(arrival, [this, object = MidiMessageObject(message)] { delayMidiMessageObject(object); });
}

// Live notes get the delay of the recorder's tap too, so that what is recorded is what was heard.
void MIDIDecoder::delayMidiMessageObject(const MidiMessageObject& object) {
    const Duration latency = secondsToDuration(_audioEngine.recorderLatency());
    _playerThread.performAfter(
        latency, [this, object = MidiMessageObject(object)]() mutable { handleMidiMessageObject(object); });
}

void MIDIDecoder::handleMidiMessageObject(MidiMessageObject& object) {
    switch (object.message()[0] & 0xF0) {
        case 0x90:
            return handleMIDINoteOn(object.message(), object.messageSize());
        case 0x80:
            return handleMIDINoteOff(object.message(), object.messageSize());
        default:
            // Three bytes whatever the size: the units take no other messages.
            return _audioEngine.handleMIDIMessage(object.message(), 3);
    }
}

void MIDIDecoder::handleMIDINoteOn(std::uint8_t* message, std::int32_t size) {
    if (size < 3) return;
    const std::uint8_t velocity = message[2];
    if (velocity == 0) {
        message[0] = static_cast<std::uint8_t>(message[0] - 0x10);
        return handleMIDINoteOff(message, size);
    }
    _audioEngine.handleNoteOnMessage(_scala.mapMidiKey(message[1]), velocity, message[0] - 0x8F);
}

void MIDIDecoder::handleMIDINoteOff(const std::uint8_t* message, std::int32_t size) {
    if (size < 3) return;
    _audioEngine.handleNoteOffMessage(_scala.mapMidiKey(message[1]), message[0] - 0x7F);
}

}  // namespace zelvane

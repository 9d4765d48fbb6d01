// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/MIDIDecoder/MIDIDecoder.h"

#include "Sources/Zelvane/AudioEngine/AudioEngine.h"
#include "Sources/Zelvane/MIDIDecoder/MIDIMessageCutter.h"

namespace zelvane {

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
    MIDIMessageCutter().cut(packets, [this](auto message, TimePoint arrival) { send(message, arrival); });
}

void MIDIDecoder::checkStatus() {
    _application.mainRunLoop().perform([&checker = _statusChecker] { checker.checkStatus(); });
}

void MIDIDecoder::send(std::span<const std::uint8_t> message, TimePoint arrival) {
    _playerThread.performAt(arrival, [weak = weak_from_this(), object = MidiMessageObject(message)] {
        if (const auto self = weak.lock()) self->delayMidiMessageObject(object);
    });
}

// Live notes get the delay of the recorder's tap too, so that what is recorded is what was heard.
void MIDIDecoder::delayMidiMessageObject(const MidiMessageObject& object) {
    const Duration latency = secondsToDuration(_audioEngine.recorderLatency());
    _playerThread.performAfter(latency, [weak = weak_from_this(), object = MidiMessageObject(object)]() mutable {
        if (const auto self = weak.lock()) self->handleMidiMessageObject(object);
    });
}

void MIDIDecoder::handleMidiMessageObject(MidiMessageObject& object) {
    PlayerCounters::add(_audioEngine.counters().midiMessages);
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

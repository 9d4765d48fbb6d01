// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PYMIDI/PYMIDIReceiver.h"
#include "Platform/Foundation/RunLoop.h"
#include "Sources/Application.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaController.h"
#include "Sources/Zelvane/OSCDecoder/MidiMessageObject/MidiMessageObject.h"
#include "Sources/Zelvane/StatusChecker.h"

#include <cstdint>
#include <memory>
#include <span>

namespace zelvane {

class AudioEngine;

/// Turns MIDI that comes in into notes, each key at the pitch that its own tuning gives it; all other messages go to
/// the units as they are. What it has queued when it goes is dropped.
class MIDIDecoder final : public PYMIDIReceiver, public std::enable_shared_from_this<MIDIDecoder> {
  public:
    struct Collaborators {
        AudioEngine& audioEngine;
        RunLoop& playerThread;
        Application& application;
        const UserDefaults& defaults;
        StatusChecker& statusChecker;
    };

    explicit MIDIDecoder(const Collaborators& collaborators);

    /// The tuning of MIDI keys. Player thread.
    ScalaController& scala() { return _scala; }
    RunLoop& playerThread() { return _playerThread; }

    /// Cuts packets into messages and hands them to the player thread, each at the time it arrived. A message may go on
    /// in the next packet of a list but not in the next list. Any thread but the audio thread; it does not wait.
    void processMIDIPacketList(MIDIPacketList packets, PYMIDIEndpoint& sender) override;

  private:
    void checkStatus();
    void send(std::span<const std::uint8_t> message, TimePoint arrival);

    // Player thread.
    void delayMidiMessageObject(const MidiMessageObject& object);
    void handleMidiMessageObject(MidiMessageObject& object);
    void handleMIDINoteOn(std::uint8_t* message, std::int32_t size);
    void handleMIDINoteOff(const std::uint8_t* message, std::int32_t size);

    AudioEngine& _audioEngine;
    RunLoop& _playerThread;
    Application& _application;
    StatusChecker& _statusChecker;
    ScalaController _scala;
};

}  // namespace zelvane

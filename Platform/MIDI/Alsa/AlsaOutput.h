// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/MIDI/Alsa/AlsaGenerations.h"
#include "Platform/MIDI/Alsa/AlsaSequencer.h"
#include "Platform/MIDI/MIDIBackEnd.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace zelvane {

/// What we send: to others' ports, and from our virtual sources to all who listen. Any thread but the audio thread.
class AlsaOutput {
  public:
    /// Both must outlive it.
    AlsaOutput(const AlsaSequencer& sequencer, const AlsaGenerations& generations);

    /// Makes a port that others can listen to.
    bool addSource(MIDILineID line, const std::string& name);
    bool renameSource(MIDILineID line, const std::string& name);
    void removeSource(MIDILineID line);

    bool send(const std::string& address, MIDIPacketList packets);
    bool emit(MIDILineID line, MIDIPacketList packets);

  private:
    struct Free {
        void operator()(snd_midi_event_t* encoder) const { snd_midi_event_free(encoder); }
    };

    bool isReady(const std::string& address, AlsaAddress destination);
    bool sendAll(int port, AlsaAddress destination, MIDIPacketList packets);
    bool sendBytes(int port, AlsaAddress destination, std::span<const std::uint8_t> bytes);

    const AlsaSequencer& _sequencer;
    const AlsaGenerations& _generations;
    std::mutex _mutex;  // for all that follows, and for the library's way out
    std::unique_ptr<snd_midi_event_t, Free> _encoder;
    int _port = -1;                                 // by which we send to others, made when it is first used
    std::map<AlsaAddress, std::string> _connected;  // to that port, with the address they had then
    std::map<MIDILineID, int> _sources;
};

}  // namespace zelvane

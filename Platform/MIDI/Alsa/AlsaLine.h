// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/MIDI/Alsa/AlsaEventDecoder.h"
#include "Platform/MIDI/Alsa/AlsaPort.h"
#include "Platform/MIDI/MIDIBackEnd.h"
#include "Platform/MIDI/MessageAssembler.h"
#include "Platform/MIDI/SoundingNotes.h"

#include <cstdint>
#include <map>
#include <vector>

namespace zelvane {

/// What comes over one line: collects the messages of a batch of events, and knows which notes sound from whom. Used by
/// the reader's thread.
class AlsaLine {
  public:
    explicit AlsaLine(MIDILineID id) : _id(id) {}

    MIDILineID id() const { return _id; }

    /// Takes in an event; times never go back.
    void take(const snd_seq_event_t& event, AlsaEventDecoder& decoder, TimePoint time);

    /// A sender went away, or with -1 for the port a whole client: its notes end.
    void endSender(AlsaAddress sender, TimePoint time);
    void endAllSenders(TimePoint time);

    /// Hands on what was collected, as one list.
    void deliver(MIDIBackEndListener& listener);

  private:
    struct Sender {
        SoundingNotes notes;
        MessageAssembler assembler;
    };
    struct Packet {
        TimePoint time;
        std::size_t length = 0;
    };

    void add(std::span<const std::uint8_t> message, TimePoint time);
    void endNotes(Sender& sender, TimePoint time);

    const MIDILineID _id;
    std::map<AlsaAddress, Sender> _senders;
    std::vector<std::uint8_t> _bytes;  // of all packets
    std::vector<Packet> _packets;
    std::vector<MIDIPacket> _list;
};

}  // namespace zelvane

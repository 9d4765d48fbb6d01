// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <alsa/asoundlib.h>

#include <array>
#include <cstdint>
#include <memory>
#include <span>

namespace zelvane {

/// Turns the sequencer's events into the bytes of MIDI messages. Used by one thread.
class AlsaEventDecoder {
  public:
    AlsaEventDecoder();

    /// The messages of an event, whole and without running status; nothing for a piece of a system exclusive message,
    /// for clock and active sensing, and for what is no message. Valid until the next call.
    std::span<const std::uint8_t> decode(const snd_seq_event_t& event);

    /// The piece of a system exclusive message that an event holds.
    static std::span<const std::uint8_t> systemExclusivePiece(const snd_seq_event_t& event);

  private:
    struct Free {
        void operator()(snd_midi_event_t* decoder) const { snd_midi_event_free(decoder); }
    };

    std::unique_ptr<snd_midi_event_t, Free> _decoder;
    std::array<std::uint8_t, 32> _bytes{};
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/MIDI/MIDITypes.h"

namespace zelvane {

class PYMIDIEndpoint;

/// Whoever takes MIDI from an endpoint.
class PYMIDIReceiver {
  public:
    virtual ~PYMIDIReceiver() = default;

    /// The MIDI thread; the packets are valid during the call. It may not add or remove receivers of the sender.
    virtual void processMIDIPacketList(MIDIPacketList packets, PYMIDIEndpoint& sender) = 0;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/WakeUp.h"
#include "Platform/MIDI/Jack/JackMIDIRing.h"

#include <atomic>
#include <cstdint>

namespace zelvane {

/// What stands between the process callbacks of one client after the other and our own threads.
struct JackMIDIQueues {
    static constexpr std::size_t kInputBytes = std::size_t{1} << 20;   // some 30,000 notes
    static constexpr std::size_t kOutputBytes = std::size_t{1} << 18;  // several of the longest messages

    JackMIDIRing input{kInputBytes};    // written by the process callback, read by the MIDI thread
    JackMIDIRing output{kOutputBytes};  // written under the back end's lock, read by the process callback
    WakeUp midiThread;

    std::atomic<std::uint64_t> cycles{0};       // finished ones; counted by the process callback, read by any
    std::atomic<std::uint64_t> lostInPorts{0};  // events that found no room in a port; likewise
};

}  // namespace zelvane

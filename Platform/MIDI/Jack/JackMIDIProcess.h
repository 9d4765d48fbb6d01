// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Jack/JackClient.h"
#include "Platform/Jack/JackClock.h"
#include "Platform/MIDI/Jack/JackMIDIQueues.h"
#include "Platform/MIDI/MIDIBackEnd.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace zelvane {

/// The process callback: what came in on our ports goes into a queue, stamped with the time of its frame, and what
/// waits in the other goes out at the cycle's start.
class JackMIDIProcess {
  public:
    struct Input {
        MIDILineID line = 0;
        jack_port_t* port = nullptr;
        std::uint32_t count = 0;        // of events in the last cycle
        std::uint64_t fingerprint = 0;  // of these
    };
    struct Output {
        std::uint32_t number = 0;
        jack_port_t* port = nullptr;
        void* buffer = nullptr;  // this cycle's
        bool isEmpty = true;
    };
    /// The ports that the callback knows, changed as a whole. Their state is the callback's.
    struct Ports {
        std::vector<Input> inputs;
        std::vector<Output> outputs;
    };

    /// The client is not active yet.
    JackMIDIProcess(const JackClient& client, JackMIDIQueues& queues);

    /// When it returns, the callback uses no port that is not among these. One thread at a time, not the callback's.
    void setPorts(std::unique_ptr<Ports> ports);
    /// Compares JACK's clock with ours: to be called about every second. One thread at a time.
    void measureClock() { _clock.measure(_library); }

  private:
    struct Cycle {
        jack_nframes_t frames = 0;
        TimePoint start;
        bool isRepeated = false;
    };

    int process(jack_nframes_t frames) noexcept;
    Cycle cycle(jack_nframes_t frames) noexcept;
    bool takeIn(Input& input, const Cycle& cycle) noexcept;
    std::uint64_t fingerprint(void* buffer, std::uint32_t count) const noexcept;
    bool takeIn(const jack_midi_event_t& event, MIDILineID line, TimePoint start) noexcept;
    void giveOut(Ports& ports, jack_nframes_t frames) noexcept;
    bool giveOut(Ports& ports, const JackMIDIRing::Event& event) noexcept;

    const JackClient& _client;
    const JackLibrary& _library;
    const double _nanosecondsPerFrame;
    JackMIDIQueues& _queues;
    JackClock _clock;
    std::optional<jack_nframes_t> _lastFrame;  // the callback's

    std::unique_ptr<Ports> _owned;
    std::atomic<Ports*> _ports;              // written by who changes them, read by the callback
    std::atomic<std::uint64_t> _entered{0};  // counted by the callback, read by who changes the ports
    std::atomic<std::uint64_t> _left{0};     // likewise
};

}  // namespace zelvane

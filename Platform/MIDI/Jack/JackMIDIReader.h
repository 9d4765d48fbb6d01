// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/MIDI/Jack/JackMIDIQueues.h"
#include "Platform/MIDI/MIDIBackEnd.h"
#include "Platform/MIDI/MessageAssembler.h"
#include "Platform/MIDI/SoundingNotes.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace zelvane {

/// What happened around the lines.
struct JackMIDIChanges {
    struct Wire {
        MIDILineID line;
        bool isConnected;  ///< or no longer
    };
    bool isServerLost = false;
    bool isSetupChanged = false;
    std::vector<Wire> wires;  ///< that came and went, in order
};

/// The MIDI thread: hands on what the process callback left in the queue, and ends notes whose sender has gone.
class JackMIDIReader {
  public:
    /// Asks for what happened since the last time, on the MIDI thread; none when that would mean to wait.
    using Collect = std::function<std::optional<JackMIDIChanges>()>;

    JackMIDIReader(JackMIDIQueues& queues, Collect collect) : _queues(queues), _collect(std::move(collect)) {}
    ~JackMIDIReader() { stop(); }
    JackMIDIReader(const JackMIDIReader&) = delete;
    JackMIDIReader& operator=(const JackMIDIReader&) = delete;

    void start(MIDIBackEndListener& listener);
    void stop();

    /// Hands on what came over the line, whose port is closed already, ends its notes and forgets it. Any thread but
    /// the MIDI thread.
    void close(MIDILineID line);

  private:
    /// What came over a line and is to be handed on, and what is known of its sender.
    struct Inbox {
        struct Packet {
            TimePoint time;
            std::size_t size = 0;
        };
        MessageAssembler assembler;
        SoundingNotes notes;
        std::vector<std::uint8_t> bytes;  // of all packets
        std::vector<Packet> packets;
        TimePoint latest{};
        int wires = 0;
        std::optional<std::uint64_t> endsAtCycle;  // when the last wire has gone
        TimePoint endsAtLatest{};                  // if cycles no longer come

        void add(std::span<const std::uint8_t> message, TimePoint time);
        void endNotes();
    };

    void run();
    void turn();
    void takeMessages();
    void apply(const JackMIDIChanges& changes);
    void applyWire(const JackMIDIChanges::Wire& wire);
    void endUnwired(std::uint64_t cycle);
    void deliver();
    void deliver(MIDILineID line, Inbox& inbox);
    std::vector<MIDILineID> closings();
    void finish(const std::vector<MIDILineID>& closed);

    JackMIDIQueues& _queues;
    const Collect _collect;
    MIDIBackEndListener* _listener = nullptr;

    std::map<MIDILineID, Inbox> _inboxes;  // MIDI thread
    std::vector<MIDIPacket> _list;         // likewise
    bool _isToLookAgainSoon = false;       // likewise

    std::mutex _mutex;
    std::condition_variable _hasFinished;
    std::vector<MIDILineID> _closings;  // guarded by _mutex
    bool _isRunning = false;            // guarded by _mutex

    std::atomic<bool> _isStopping{false};
    std::jthread _thread;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/OutputDeviceController.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>

namespace zelvane {

/// What has happened since the player started.
struct PlayerCounts {
    std::uint64_t oscMessages = 0;        ///< that were looked at
    std::uint64_t refusedMessages = 0;    ///< of these: unknown ones, and those with wrong arguments
    std::uint64_t ignoredPackets = 0;     ///< of OSC, that came while it did not listen or had no instrument
    std::uint64_t unreadablePackets = 0;  ///< that were no OSC
    std::uint64_t lostPackets = 0;        ///< of OSC, that came faster than they could be taken
    std::uint64_t midiMessages = 0;
    std::uint64_t notes = 0;          ///< begun
    std::uint64_t queuedNotes = 0;    ///< that now wait in the stream
    std::uint64_t lateEvents = 0;     ///< that reached an instrument after their time, and were played at once
    std::uint64_t refusedEvents = 0;  ///< that no instrument takes: notes out of range
    std::uint64_t lostEvents = 0;     ///< for which there was no room
    std::uint64_t xruns = 0;
    std::uint64_t droppedFrames = 0;  ///< of recordings, that are silence there

    bool operator==(const PlayerCounts&) const = default;
};

/// How the player stands. Collecting it makes neither the player thread nor the audio thread wait.
struct PlayerReport {
    enum class State { starting, waiting, listening, armed, recording };

    State state = State::starting;
    std::chrono::milliseconds upTime{};
    std::uint16_t port = 0;       ///< 0 while it does not listen
    std::uint16_t replyPort = 0;  ///< where streams ask for more
    std::string midiInput;        ///< empty when there is none
    std::string instrument;       ///< empty while none is loaded
    std::string microtones;       ///< whether the instrument plays them: yes, no or unknown
    OutputDeviceController::Status output;
    std::int64_t latencyFrames = 0;   ///< from an event's time to the frame at which it is played
    double messageDelay = 0;          ///< seconds by which what comes in is held before that
    std::filesystem::path recording;  ///< of a recording that is armed or runs; else empty
    PlayerCounts counts;

    /// From the arrival of a message to its first frame at the device, in seconds.
    double latency() const;
};

/// For people: a line for each fact.
std::string reportText(const PlayerReport& report);
/// For programs: JSON, the same keys whatever the state.
std::string reportJson(const PlayerReport& report);

}  // namespace zelvane

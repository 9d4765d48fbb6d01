// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Benchmarks/Onsets/NotePlan.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

/// What tells a performer that a note is due.
enum class Timing { clock, frames };

/// A program that runs and a way to play it.
struct Performer {
    std::string name;
    std::string leftPort;  ///< its left output on JACK
    /// Plays the plan's notes and returns when each was due, up to a delay that is the same for all; none for one of
    /// which nobody knows. Returns when the last has been sent.
    std::function<std::vector<std::optional<TimePoint>>(const NotePlan&)> play;
    Timing timing = Timing::clock;
};

/// The player with a click for an instrument: notes of a stream, queued and timed by the player.
Performer streamPerformer();
/// The same, each note sent when it is due.
Performer livePerformer();
/// The same, played by keys of another client of JACK, each pressed at a frame of that client's choice.
Performer midiKeysPerformer();
/// The program `fluidsynth` with the same click, each note sent when it is due.
Performer fluidSynthPerformer();

}  // namespace zelvane

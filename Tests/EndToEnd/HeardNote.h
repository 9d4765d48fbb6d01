// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/EndToEnd/JackCapture.h"
#include "Tests/EndToEnd/RunningPlayer.h"

#include <cstddef>
#include <functional>

namespace zelvane {

/// Frames a period for a server that shall lose nothing when the machine is held up for some milliseconds.
inline constexpr unsigned kLongPeriod = 2048;

/// Where a note's sound begins and ends in what was captured.
struct HeardNote {
    std::size_t begin = 0;
    std::size_t end = 0;

    bool isHeard() const { return end > begin; }
};

/// Starts a note, ends it after so many seconds of captured sound, and expects that it is over then. One that was not
/// heard, or more than once, does not count as heard.
HeardNote hearNote(const JackCapture& capture, double seconds, const std::function<void()>& start,
                   const std::function<void()>& end);

/// The same, again and again while the server has lost the note or too much of it: one that is held up does.
HeardNote hearWholeNote(const JackCapture& capture, double seconds, const std::function<void()>& start,
                        const std::function<void()>& end);

/// The pitch of a note's longest piece that the server has captured without a gap.
double frequencyOf(const JackCapture& capture, const HeardNote& note, double expected);

}  // namespace zelvane

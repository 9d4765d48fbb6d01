// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/EndToEnd/JackCapture.h"
#include "Tests/EndToEnd/RunningPlayer.h"

#include <cstddef>
#include <functional>

namespace zelvane {

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

/// The pitch of a note's longest piece that the server has captured without a gap.
double frequencyOf(const JackCapture& capture, const HeardNote& note, double expected);

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Pulse/PulseCycleClock.h"

#include <algorithm>

namespace zelvane {

namespace {

/// Smaller corrections are left to whoever smooths the times.
constexpr Duration kJump = std::chrono::milliseconds(2);

}  // namespace

PulseCycleClock::Answer PulseCycleClock::date(const Request& request) noexcept {
    // With the request served, the buffers are full: its last frame may not be later than a period from now, or events
    // that are still to come would miss it.
    const Duration latestEnd = duration(double(_periodFrames));
    const Duration length = duration(double(request.frames));
    if (!request.playedTime) return {.start = request.now + latestEnd - length};

    const Duration heardIn = duration(double(request.framesBefore)) - *request.playedTime;
    const Duration lead = heardIn + length - latestEnd;
    const bool hasJumped = adoptLead(request.now, lead);
    return {.start = request.now + heardIn - *_lead, .hasJumped = hasJumped};
}

/// The longest lead of late is the one that suits every request. True when that is a jump.
bool PulseCycleClock::adoptLead(TimePoint now, Duration lead) noexcept {
    const std::optional<Duration> former = _lead;
    if (!_lead || lead > *_lead) _lead = lead;
    if (!former) {
        _longestLately = lead;
        _memory = kFirstMemory;
        _forgetsAt = now + _memory;
    }
    _longestLately = std::max(_longestLately, lead);
    if (now >= _forgetsAt) {
        if (*_lead - _longestLately > kJump) _lead = _longestLately;
        _longestLately = lead;
        _memory = std::min(2 * _memory, kLongestMemory);
        _forgetsAt = now + _memory;
    }
    return !former || *_lead - *former > kJump || *former - *_lead > kJump;
}

}  // namespace zelvane

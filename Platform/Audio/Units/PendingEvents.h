// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/Instrument.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zelvane {

/// Events that wait for their frame, in the order of their frames and, for one frame, of their coming. Of fixed
/// capacity. Audio thread only; real-time safe but for the constructor.
class PendingEvents {
  public:
    explicit PendingEvents(std::size_t capacity) : _capacity(capacity) { _events.reserve(capacity); }

    bool isFull() const noexcept { return _events.size() == _capacity; }
    std::size_t size() const noexcept { return _events.size(); }

    /// Adds an event; only while it is not full.
    void insert(std::int64_t frame, TimedMIDI event) noexcept {
        auto place = _events.end();
        while (place != _events.begin() && std::prev(place)->frame > frame) --place;
        _events.insert(place, {frame, event});
    }

    /// Copies the events before `endFrame` to `out`, at most `limit`, with their offsets from `firstFrame`; those of
    /// the past get offset 0. Returns how many.
    std::size_t collect(std::int64_t firstFrame, std::int64_t endFrame, std::size_t limit,
                        TimedMIDI* out) const noexcept {
        std::size_t count = 0;
        for (; count < std::min(limit, _events.size()) && _events[count].frame < endFrame; ++count) {
            out[count] = _events[count].event;
            out[count].offset =
                static_cast<std::uint32_t>(std::max<std::int64_t>(_events[count].frame - firstFrame, 0));
        }
        return count;
    }

    /// How many of the first `count` events lie before `frame`.
    std::size_t countBefore(std::int64_t frame, std::size_t count) const noexcept {
        std::size_t before = 0;
        while (before < count && _events[before].frame < frame) ++before;
        return before;
    }

    void removeFirst(std::size_t count) noexcept {
        _events.erase(_events.begin(), _events.begin() + static_cast<std::ptrdiff_t>(count));
    }

    template <typename Condition>
    void removeIf(Condition condition) noexcept {
        std::erase_if(_events, [&](const Pending& pending) { return condition(pending.event); });
    }

    void clear() noexcept { _events.clear(); }

  private:
    struct Pending {
        std::int64_t frame;
        TimedMIDI event;
    };

    const std::size_t _capacity;
    std::vector<Pending> _events;
};

}  // namespace zelvane

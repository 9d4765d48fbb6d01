// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>

namespace zelvane {

/// What came in, and what was made of it, since the player started. Written by the player thread, read by any.
struct PlayerCounters {
    std::atomic<std::uint64_t> oscMessages{0};      ///< that were looked at, those of bundles one by one
    std::atomic<std::uint64_t> refusedMessages{0};  ///< of these: unknown ones, and those with wrong arguments
    std::atomic<std::uint64_t> ignoredPackets{0};   ///< that came while the player did not listen or had no instrument
    std::atomic<std::uint64_t> midiMessages{0};
    std::atomic<std::uint64_t> notes{0};        ///< begun, wherever they came from
    std::atomic<std::uint64_t> lostEvents{0};   ///< for which a unit had no room
    std::atomic<std::uint64_t> queuedNotes{0};  ///< that now wait in the stream

    static void add(std::atomic<std::uint64_t>& counter) { counter.fetch_add(1, std::memory_order_relaxed); }
};

}  // namespace zelvane

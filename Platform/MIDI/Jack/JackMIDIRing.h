// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace zelvane {

/// MIDI events on their way from one thread to another, one of which is a process callback: one writer, one reader, no
/// locks, no memory but what it begins with.
class JackMIDIRing {
  public:
    struct Event {
        std::uint32_t number;  ///< of the line it came over, or the port it goes out by
        TimePoint time;
        std::span<const std::uint8_t> bytes;
    };

    /// The capacity in bytes is a power of two; an event takes 16 beside its own.
    explicit JackMIDIRing(std::size_t capacity);

    /// Writer, real-time safe. False when it is full: then the event is counted as lost.
    bool push(const Event& event) noexcept;

    /// The oldest event; its bytes are valid until `pop`. Reader, real-time safe.
    std::optional<Event> front() noexcept;
    void pop() noexcept;

    /// How many events were lost since the last time. Any thread.
    std::uint64_t takeLost() { return _lost.exchange(0, std::memory_order_relaxed); }

  private:
    struct Header {
        std::uint32_t size;
        std::uint32_t number;
        Duration::rep time;
    };
    static_assert(sizeof(Header) == 16);

    static std::size_t room(std::size_t size) { return sizeof(Header) + (size + 15) / 16 * 16; }
    Header headerAt(std::size_t position) const noexcept;
    std::size_t toEnd(std::size_t position) const noexcept { return _capacity - (position & (_capacity - 1)); }
    void put(std::size_t position, const Header& header, std::span<const std::uint8_t> bytes) noexcept;

    const std::size_t _capacity;
    const std::unique_ptr<std::uint8_t[]> _memory;
    alignas(64) std::atomic<std::size_t> _written{0};  // by the writer, read by both
    alignas(64) std::atomic<std::size_t> _read{0};     // by the reader, read by both
    std::atomic<std::uint64_t> _lost{0};               // counted by the writer, taken by any
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <span>

namespace zelvane {

/// A bounded queue of messages of any length from one writer to one reader, without locks. Each message lies in one
/// piece, at an address for any type. All but the constructor is real-time safe.
class MessageRing {
  public:
    /// The capacity is in bytes, a multiple of 8; a message takes up to 15 more than it is long.
    explicit MessageRing(std::size_t capacity)
        : _capacity(capacity), _words(std::make_unique<std::uint64_t[]>(capacity / kUnit)) {}

    /// Adds a message, given in two parts. The writer's thread. False when there is no room.
    bool push(std::span<const std::byte> first, std::span<const std::byte> second = {}) noexcept {
        const std::size_t written = _written.load(std::memory_order_relaxed);
        const std::size_t length = first.size() + second.size();
        const std::size_t needed = kUnit + (length + kUnit - 1) / kUnit * kUnit;
        const std::size_t rest = _capacity - written % _capacity;
        const std::size_t skipped = rest < needed ? rest : 0;
        if (length >= kSkip || skipped + needed > _capacity - (written - _read.load(std::memory_order_acquire)))
            return false;
        if (skipped > 0) writeLength(written, kSkip);
        writeLength(written + skipped, length);
        std::byte* const place = at(written + skipped + kUnit);
        if (!first.empty()) std::memcpy(place, first.data(), first.size());
        if (!second.empty()) std::memcpy(place + first.size(), second.data(), second.size());
        _written.store(written + skipped + needed, std::memory_order_release);
        return true;
    }

    /// The oldest message, which stays until `pop`. The reader's thread.
    std::optional<std::span<const std::byte>> front() noexcept {
        std::size_t read = _read.load(std::memory_order_relaxed);
        if (read == _written.load(std::memory_order_acquire)) return std::nullopt;
        if (lengthAt(read) == kSkip) {
            read += _capacity - read % _capacity;
            _read.store(read, std::memory_order_release);
        }
        return std::span<const std::byte>(at(read + kUnit), lengthAt(read));
    }

    /// Removes what `front` gave.
    void pop() noexcept {
        const std::size_t read = _read.load(std::memory_order_relaxed);
        _read.store(read + kUnit + (lengthAt(read) + kUnit - 1) / kUnit * kUnit, std::memory_order_release);
    }

    /// Any thread.
    bool isEmpty() const noexcept {
        return _read.load(std::memory_order_acquire) == _written.load(std::memory_order_acquire);
    }

  private:
    static constexpr std::size_t kUnit = 8;
    static constexpr std::uint64_t kSkip = 0xFFFFFFFF;  // the rest up to the end is not used

    std::byte* at(std::size_t position) noexcept {
        return reinterpret_cast<std::byte*>(_words.get()) + position % _capacity;
    }
    void writeLength(std::size_t position, std::uint64_t length) noexcept {
        std::memcpy(at(position), &length, sizeof length);
    }
    std::uint64_t lengthAt(std::size_t position) noexcept {
        std::uint64_t length = 0;
        std::memcpy(&length, at(position), sizeof length);
        return length;
    }

    const std::size_t _capacity;
    const std::unique_ptr<std::uint64_t[]> _words;
    alignas(64) std::atomic<std::size_t> _written{0};  // by the writer, read by both
    alignas(64) std::atomic<std::size_t> _read{0};     // by the reader, read by both
};

}  // namespace zelvane

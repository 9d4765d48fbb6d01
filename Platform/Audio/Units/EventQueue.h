// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace zelvane {

/// A bounded queue from many writers to one reader, without locks: a cell's turn number tells whose it is. The writers
/// are control threads, the reader is the audio thread.
template <typename Event, std::size_t Capacity>
class EventQueue {
    static_assert((Capacity & (Capacity - 1)) == 0, "the turn numbers need a power of two");

  public:
    EventQueue() : _cells(std::make_unique<Cell[]>(Capacity)) {
        for (std::size_t i = 0; i < Capacity; ++i) _cells[i].turn.store(i, std::memory_order_relaxed);
    }

    /// Any thread, real-time safe. False when the queue is full.
    bool push(const Event& event) noexcept {
        std::size_t place = _writePlace.load(std::memory_order_relaxed);
        for (;;) {
            Cell& cell = _cells[place & (Capacity - 1)];
            const auto lead = static_cast<std::ptrdiff_t>(cell.turn.load(std::memory_order_acquire) - place);
            if (lead < 0) return false;
            if (lead > 0) {
                place = _writePlace.load(std::memory_order_relaxed);
            } else if (_writePlace.compare_exchange_weak(place, place + 1, std::memory_order_relaxed)) {
                cell.event = event;
                cell.turn.store(place + 1, std::memory_order_release);
                return true;
            }
        }
    }

    /// The reader's thread, real-time safe. False when the queue is empty.
    bool pop(Event& event) noexcept {
        Cell& cell = _cells[_readPlace & (Capacity - 1)];
        if (cell.turn.load(std::memory_order_acquire) != _readPlace + 1) return false;
        event = cell.event;
        cell.turn.store(_readPlace + Capacity, std::memory_order_release);
        ++_readPlace;
        return true;
    }

  private:
    struct Cell {
        std::atomic<std::size_t> turn;
        Event event;
    };

    std::unique_ptr<Cell[]> _cells;
    alignas(64) std::atomic<std::size_t> _writePlace{0};
    alignas(64) std::size_t _readPlace = 0;
};

}  // namespace zelvane

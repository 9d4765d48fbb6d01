// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lv2/atom/atom.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace zelvane {

/// The memory behind a port for events. All but the constructor is real-time safe.
class EventBuffer {
  public:
    explicit EventBuffer(std::uint32_t leastBytes);

    void* data() noexcept { return _words.data(); }
    std::uint32_t capacity() const noexcept { return static_cast<std::uint32_t>(_words.size() * sizeof _words[0]); }

    /// Makes it an empty sequence for the plug-in to read.
    void clear() noexcept;
    /// Adds an event; they have to come in the order of their frames. False when there is no room.
    bool append(std::uint32_t frame, std::uint32_t type, std::span<const std::byte> body) noexcept;
    /// Whether an event with a body of that size still fits.
    bool hasRoomFor(std::size_t bodySize) const noexcept;

    /// Makes it empty room for the plug-in to write to.
    void offer() noexcept;
    /// What the plug-in wrote, or null when that is no sequence.
    const LV2_Atom_Sequence* written() const noexcept;

  private:
    LV2_Atom_Sequence& sequence() noexcept { return *reinterpret_cast<LV2_Atom_Sequence*>(_words.data()); }
    const LV2_Atom_Sequence& sequence() const noexcept {
        return *reinterpret_cast<const LV2_Atom_Sequence*>(_words.data());
    }

    std::vector<std::uint64_t> _words;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace zelvane {

/// One MIDI message on its way from the MIDI thread to the player thread.
class MidiMessageObject {
  public:
    static constexpr std::size_t kCapacity = 256;

    /// What does not fit is left out.
    explicit MidiMessageObject(std::span<const std::uint8_t> midiMessage)
        : _messageSize(static_cast<std::int32_t>(std::min(midiMessage.size(), kCapacity))) {
        std::copy_n(midiMessage.begin(), _messageSize, _midiMessage.begin());
    }

    /// The bytes; those beyond the size are zero.
    std::uint8_t* message() { return _midiMessage.data(); }
    std::int32_t messageSize() const { return _messageSize; }

  private:
    std::array<std::uint8_t, kCapacity> _midiMessage{};
    std::int32_t _messageSize;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <span>
#include <vector>

namespace zelvane {

/// The notes that sound from one sender, so that they can be ended when it goes away. Used by one thread.
class SoundingNotes {
  public:
    /// Takes in a message or several, whole ones.
    void follow(std::span<const std::uint8_t> bytes);

    bool areAny() const { return _keys.any(); }

    /// A note-off for each, three bytes one after the other; none sound any more.
    std::vector<std::uint8_t> takeEndings();

  private:
    void followMessage(std::uint8_t status, std::uint8_t key, std::uint8_t velocity);

    std::bitset<16 * 128> _keys;  // by channel and key
};

}  // namespace zelvane

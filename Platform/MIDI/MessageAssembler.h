// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace zelvane {

/// Makes single whole messages of bytes that hold several, or pieces of one. Used by one thread.
class MessageAssembler {
  public:
    /// Longer ones, which can only be system exclusive, lose their end, but for the closing byte.
    static constexpr std::size_t kLongest = 64 * 1024;
    using Message = std::span<const std::uint8_t>;

    /// Takes the next bytes, and hands on each message that they complete. Real-time messages may stand within others.
    /// What is begun and not completed is left out, and so are data without a status.
    void add(std::span<const std::uint8_t> bytes, const std::function<void(Message)>& whole);

  private:
    bool begin(std::uint8_t status);

    std::vector<std::uint8_t> _message;  // empty outside of one
    std::size_t _length = 0;             // that it is to have
};

}  // namespace zelvane

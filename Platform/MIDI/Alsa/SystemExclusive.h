// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace zelvane {

/// Puts one sender's system exclusive messages together from their pieces. Used by one thread.
class SystemExclusive {
  public:
    /// Longer ones lose their end, but for the closing byte.
    static constexpr std::size_t kLongest = 64 * 1024;
    using Message = std::span<const std::uint8_t>;

    /// Takes the next bytes, and hands on each message that they complete. What is between messages is left out; one
    /// that is never completed gives way to the next.
    void add(std::span<const std::uint8_t> piece, const std::function<void(Message)>& whole);

  private:
    std::vector<std::uint8_t> _message;  // empty outside of one
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <unordered_set>

namespace zelvane {

/// Remembers what was complained about, so that a sender that goes on sending the same nonsense fills no log. Only so
/// many are kept, the oldest give way. Used by one thread.
class OSCComplaints {
  public:
    static constexpr std::size_t kCapacity = 1024;

    /// True for a complaint that is not among those remembered; from then on it is.
    bool isNew(const std::string& complaint);

  private:
    std::unordered_set<std::string> _known;
    std::deque<std::string> _inOrder;
};

}  // namespace zelvane

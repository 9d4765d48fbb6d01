// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace zelvane {

/// The wires from our ports as the user has laid them, kept from one stream to the next: when a server was restarted or
/// the rate has changed they are laid again, and no others. Any thread but the audio thread.
class JackWiring {
  public:
    /// An output's number and the full name of an input.
    using Wires = std::set<std::pair<std::size_t, std::string>>;

    /// None while the wires are those that we lay ourselves.
    std::optional<Wires> users() const {
        const std::lock_guard lock(_mutex);
        return _users;
    }
    void setUsers(std::optional<Wires> wires) {
        const std::lock_guard lock(_mutex);
        _users = std::move(wires);
    }

  private:
    mutable std::mutex _mutex;
    std::optional<Wires> _users;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/LoopbackSocket.h"

#include <cstdint>
#include <string>

namespace zelvane {

/// A session manager that does what the test says, at one address of this machine.
class SessionManager {
  public:
    /// What it puts into NSM_URL.
    std::string url() const { return "osc.udp://localhost:" + std::to_string(_socket.port()) + "/"; }
    /// The next message, whose sender is then the client. Without an address when none comes for a minute.
    OSCMessage next() { return _socket.next(60, &_client); }
    /// To the client.
    void send(const OSCMessage& message) const { _socket.send(message, _client); }
    /// Takes the other's client for its own, as a program that knows its port could.
    void meet(const SessionManager& other) { _client = other._client; }
    /// The usual answer to a program that announces itself.
    void welcome() const;
    void open(const std::string& path, const std::string& clientID) const;

  private:
    LoopbackSocket _socket;
    std::uint16_t _client = 0;
};

}  // namespace zelvane

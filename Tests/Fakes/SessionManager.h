// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/OSC/OSCMessage.h"

#include <cstdint>
#include <string>

namespace zelvane {

/// A session manager that does what the test says, at one address of this machine.
class SessionManager {
  public:
    SessionManager();
    ~SessionManager();
    SessionManager(const SessionManager&) = delete;
    SessionManager& operator=(const SessionManager&) = delete;

    /// What it puts into NSM_URL.
    std::string url() const { return "osc.udp://localhost:" + std::to_string(_port) + "/"; }
    /// The next message, whose sender is then the client. Without an address when none comes for a minute.
    OSCMessage next();
    /// To the client.
    void send(const OSCMessage& message) const;
    /// Takes the other's client for its own, as a program that knows its port could.
    void meet(const SessionManager& other) { _client = other._client; }
    /// The usual answer to a program that announces itself.
    void welcome() const;
    void open(const std::string& path, const std::string& clientID) const;

  private:
    int _socket;
    std::uint16_t _port = 0;
    std::uint16_t _client = 0;
};

}  // namespace zelvane

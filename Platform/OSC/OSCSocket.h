// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/OSC/OSCConnection.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace zelvane {

/// The UDP socket of a connection. Operations that can fail return the error number, 0 for success.
class OSCConnection::Socket {
  public:
    Socket() = default;
    ~Socket();
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    int open();
    int bind(const std::string& address, std::uint16_t port);
    int connect(const std::string& address, std::uint16_t port);
    void send(std::span<const std::byte> bytes) const;
    void sendTo(std::span<const std::byte> bytes, const std::string& address, std::uint16_t port) const;

    int descriptor() const { return _descriptor; }
    /// Whether the system granted all the room for waiting packets that a burst of notes may need. Any thread.
    bool hasRoomForBursts() const;
    std::uint16_t localPort() const;
    /// How many packets the kernel had to drop since the socket was opened, modulo 2^32. Any thread.
    std::uint32_t droppedPackets() const;

    /// A descriptor that `poll` finds readable between `wake` and `clearWake`. Any thread.
    int wakeDescriptor() const { return _wakeDescriptor; }
    void wake() const;
    void clearWake() const;

  private:
    void prepareForReceiving() const;

    int _descriptor = -1;
    int _wakeDescriptor = -1;
};

}  // namespace zelvane

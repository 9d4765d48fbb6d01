// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zelvane {

/// A client of the player that is no code of ours: a bare UDP socket on the loopback address.
class UdpClient {
  public:
    /// With `isShared` other sockets that ask for the same may use its port, too.
    explicit UdpClient(bool isShared = false);
    ~UdpClient();
    UdpClient(const UdpClient&) = delete;
    UdpClient& operator=(const UdpClient&) = delete;

    std::uint16_t port() const;
    /// Whether the system lets this process have so much room for waiting packets, one way or the other.
    bool mayHaveReceiveBufferOf(int bytes) const;
    void send(std::uint16_t port, const std::string& packet) const;
    /// As fast as the system can: many packets with one call.
    void sendAll(std::uint16_t port, const std::vector<std::string>& packets) const;

  private:
    int _socket;
};

}  // namespace zelvane

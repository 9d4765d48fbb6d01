// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/FileDescriptor.h"
#include "Platform/OSC/OSCMessage.h"

#include <sys/socket.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zelvane {

/// The other end of a conversation, no code of ours: a bare socket on the loopback address, at a port that was free.
class LoopbackSocket {
  public:
    /// Of datagrams, or of a stream. With `isShared` other sockets that ask for the same may use its port, too.
    explicit LoopbackSocket(int type = SOCK_DGRAM, bool isShared = false);

    std::uint16_t port() const;
    /// Whether the system lets this process have so much room for waiting packets, one way or the other.
    bool mayHaveReceiveBufferOf(int bytes) const;

    void send(std::string_view packet, std::uint16_t port) const;
    void send(const OSCMessage& message, std::uint16_t port) const;
    /// As fast as the system can: many packets with one call.
    void sendAll(const std::vector<std::string>& packets, std::uint16_t port) const;
    /// The next message, and the port of who sent it. Without an address when none comes for so many seconds; what is
    /// no message has the reason for its address.
    OSCMessage next(double seconds, std::uint16_t* sender = nullptr) const;

    /// A stream to who listens at that port. False when nobody does.
    bool connect(std::uint16_t port) const;
    /// Writes into the stream at once. False when nobody reads it any more.
    bool write(std::string_view text) const;

  private:
    FileDescriptor _socket;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace zelvane {

/// Who sent a datagram.
struct OSCSender {
    std::uint32_t address = 0;  ///< IPv4, host byte order
    std::uint16_t port = 0;

    /// The address in numbers and dots.
    std::string host() const;
    bool operator==(const OSCSender&) const = default;
};

/// One datagram as it lies in a batch.
struct OSCDatagram {
    std::span<const std::byte> bytes;
    OSCSender sender;
    std::optional<Duration> wallTime;  ///< when the kernel received it, if it tells
    bool isCut = false;                ///< it was larger than any datagram may be
};

/// Room for some datagrams that are taken from a socket with one system call. Memory is touched only where data arrive.
class OSCDatagrams {
  public:
    static constexpr std::size_t kCapacity = 32;

    OSCDatagrams();

    /// Takes up to `limit` waiting datagrams (at most `kCapacity`), never waits. The error number is 0 when there were
    /// none, too.
    struct Taken {
        std::size_t count = 0;
        int errorNumber = 0;
    };
    Taken take(int socket, std::size_t limit);

    /// A datagram of the last `take`, valid until the next.
    OSCDatagram at(std::size_t index) const;

  private:
    static constexpr std::size_t kBytesEach = 65'536;

    struct alignas(cmsghdr) Control {
        std::array<std::byte, CMSG_SPACE(sizeof(timespec))> bytes;
    };

    std::unique_ptr<std::byte[]> _bytes;
    std::array<mmsghdr, kCapacity> _headers{};
    std::array<iovec, kCapacity> _vectors{};
    std::array<sockaddr_in, kCapacity> _senders{};
    std::array<Control, kCapacity> _controls{};
};

}  // namespace zelvane

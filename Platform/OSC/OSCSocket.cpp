// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/OSC/OSCSocket.h"

#include <arpa/inet.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <optional>

namespace zelvane {

namespace {

// The kernel doubles the wish for its own bookkeeping, about 770 bytes for a note: some 20,000 notes fit even when the
// reader gets no time at all.
constexpr int kReceiveBufferSize = 8 * 1024 * 1024;

std::optional<sockaddr_in> numericAddress(const std::string& address, std::uint16_t port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    if (inet_pton(AF_INET, address.c_str(), &result.sin_addr) != 1) return std::nullopt;
    return result;
}

const sockaddr* generic(const sockaddr_in& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

bool setOption(int descriptor, int option, int value) {
    return ::setsockopt(descriptor, SOL_SOCKET, option, &value, sizeof value) == 0;
}

}  // namespace

OSCConnection::Socket::~Socket() {
    if (_descriptor >= 0) ::close(_descriptor);
    if (_wakeDescriptor >= 0) ::close(_wakeDescriptor);
}

int OSCConnection::Socket::open() {
    _descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (_descriptor < 0) return errno;
    _wakeDescriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (_wakeDescriptor < 0) return errno;
    prepareForReceiving();
    return 0;
}

// None of these is needed to work at all: what the system refuses is done without.
void OSCConnection::Socket::prepareForReceiving() const {
    if (!setOption(_descriptor, SO_RCVBUFFORCE, kReceiveBufferSize)) {
        setOption(_descriptor, SO_RCVBUF, kReceiveBufferSize);
    }
    setOption(_descriptor, SO_TIMESTAMPNS, 1);
}

int OSCConnection::Socket::bind(const std::string& address, std::uint16_t port) {
    const auto local = numericAddress(address, port);
    if (!local) return EINVAL;
    return ::bind(_descriptor, generic(*local), sizeof *local) == 0 ? 0 : errno;
}

int OSCConnection::Socket::connect(const std::string& address, std::uint16_t port) {
    const auto remote = numericAddress(address, port);
    if (!remote || port == 0) return EINVAL;
    return ::connect(_descriptor, generic(*remote), sizeof *remote) == 0 ? 0 : errno;
}

void OSCConnection::Socket::send(std::span<const std::byte> bytes) const {
    // A remote end that was not there for the last message makes this call fail without sending: that must not cost
    // the first message after it has come up.
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (::send(_descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL) >= 0 || errno != ECONNREFUSED) return;
    }
}

void OSCConnection::Socket::sendTo(std::span<const std::byte> bytes, const std::string& address,
                                   std::uint16_t port) const {
    const auto remote = numericAddress(address, port);
    if (!remote) return;
    ::sendto(_descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL, generic(*remote), sizeof *remote);
}

std::uint16_t OSCConnection::Socket::localPort() const {
    sockaddr_in local{};
    socklen_t size = sizeof local;
    if (::getsockname(_descriptor, reinterpret_cast<sockaddr*>(&local), &size) != 0) return 0;
    return ntohs(local.sin_port);
}

bool OSCConnection::Socket::hasRoomForBursts() const {
    int granted = 0;
    socklen_t size = sizeof granted;
    return ::getsockopt(_descriptor, SOL_SOCKET, SO_RCVBUF, &granted, &size) == 0 && granted >= kReceiveBufferSize;
}

// Asked for, not taken from the packets: those that come after the last loss may be none.
std::uint32_t OSCConnection::Socket::droppedPackets() const {
    std::array<std::uint32_t, SK_MEMINFO_VARS> memory{};
    socklen_t size = sizeof memory;
    if (::getsockopt(_descriptor, SOL_SOCKET, SO_MEMINFO, memory.data(), &size) != 0) return 0;
    return memory[SK_MEMINFO_DROPS];
}

void OSCConnection::Socket::wake() const {
    ::eventfd_write(_wakeDescriptor, 1);
}

void OSCConnection::Socket::clearWake() const {
    eventfd_t count = 0;
    ::eventfd_read(_wakeDescriptor, &count);
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/LoopbackSocket.h"

#include "Platform/OSC/OSCPacket.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>

#include <array>
#include <span>

namespace zelvane {

namespace {

/// As the system's calls take it.
struct Address {
    explicit Address(std::uint16_t port) {
        in.sin_family = AF_INET;
        in.sin_port = htons(port);
        in.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    }
    sockaddr* any() { return reinterpret_cast<sockaddr*>(&in); }

    sockaddr_in in{};
    socklen_t size = sizeof in;
};

bool setOption(int socket, int level, int name, int value) {
    return ::setsockopt(socket, level, name, &value, sizeof value) == 0;
}

}  // namespace

LoopbackSocket::LoopbackSocket(int type, bool isShared) : _socket(::socket(AF_INET, type | SOCK_CLOEXEC, 0)) {
    if (isShared) {
        EXPECT_TRUE(setOption(_socket.number(), SOL_SOCKET, SO_REUSEADDR, 1));
        EXPECT_TRUE(setOption(_socket.number(), SOL_SOCKET, SO_REUSEPORT, 1));
    }
    Address address(0);
    EXPECT_EQ(::bind(_socket.number(), address.any(), address.size), 0);
}

std::uint16_t LoopbackSocket::port() const {
    Address address(0);
    EXPECT_EQ(::getsockname(_socket.number(), address.any(), &address.size), 0);
    return ntohs(address.in.sin_port);
}

bool LoopbackSocket::mayHaveReceiveBufferOf(int bytes) const {
    if (setOption(_socket.number(), SOL_SOCKET, SO_RCVBUFFORCE, bytes)) return true;
    int granted = 0;
    socklen_t size = sizeof granted;
    EXPECT_TRUE(setOption(_socket.number(), SOL_SOCKET, SO_RCVBUF, bytes));
    EXPECT_EQ(::getsockopt(_socket.number(), SOL_SOCKET, SO_RCVBUF, &granted, &size), 0);
    return granted >= bytes * 2;  // the kernel doubles what it grants
}

void LoopbackSocket::send(std::string_view packet, std::uint16_t port) const {
    Address address(port);
    const auto sent = ::sendto(_socket.number(), packet.data(), packet.size(), 0, address.any(), address.size);
    EXPECT_EQ(sent, static_cast<ssize_t>(packet.size()));
}

void LoopbackSocket::send(const OSCMessage& message, std::uint16_t port) const {
    const auto bytes = serializeOSCMessage(message);
    send(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), port);
}

void LoopbackSocket::sendAll(const std::vector<std::string>& packets, std::uint16_t port) const {
    Address address(port);
    std::vector<iovec> vectors;
    vectors.reserve(packets.size());
    for (const auto& packet : packets) vectors.push_back({const_cast<char*>(packet.data()), packet.size()});
    std::vector<mmsghdr> headers(packets.size());
    for (std::size_t index = 0; index < packets.size(); ++index) {
        headers[index].msg_hdr.msg_name = address.any();
        headers[index].msg_hdr.msg_namelen = address.size;
        headers[index].msg_hdr.msg_iov = &vectors[index];
        headers[index].msg_hdr.msg_iovlen = 1;
    }
    for (std::size_t sent = 0; sent < packets.size();) {
        const auto left = static_cast<unsigned>(packets.size() - sent);
        const int count = ::sendmmsg(_socket.number(), &headers[sent], left, 0);
        ASSERT_GT(count, 0);
        sent += static_cast<std::size_t>(count);
    }
}

OSCMessage LoopbackSocket::next(double seconds, std::uint16_t* sender) const {
    pollfd readable{_socket.number(), POLLIN, 0};
    if (::poll(&readable, 1, static_cast<int>(seconds * 1000)) <= 0) return {};
    std::array<std::byte, 4096> bytes{};
    Address from(0);
    const auto length = ::recvfrom(_socket.number(), bytes.data(), bytes.size(), 0, from.any(), &from.size);
    if (length <= 0) return {};
    if (sender != nullptr) *sender = ntohs(from.in.sin_port);
    auto parsed = parseOSCPacket(std::span(bytes).first(static_cast<std::size_t>(length)));
    return parsed.isPacket() ? parsed.packet().message() : OSCMessage{parsed.reason(), {}};
}

bool LoopbackSocket::connect(std::uint16_t port) const {
    Address address(port);
    return ::connect(_socket.number(), address.any(), address.size) == 0 &&
           setOption(_socket.number(), IPPROTO_TCP, TCP_NODELAY, 1);
}

bool LoopbackSocket::write(std::string_view text) const {
    return ::send(_socket.number(), text.data(), text.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(text.size());
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/OSC/UdpClient.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

namespace zelvane {

namespace {

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

}  // namespace

UdpClient::UdpClient(bool isShared) : _socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    const int yes = 1;
    if (isShared) {
        EXPECT_EQ(::setsockopt(_socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes), 0);
        EXPECT_EQ(::setsockopt(_socket, SOL_SOCKET, SO_REUSEPORT, &yes, sizeof yes), 0);
    }
    const sockaddr_in address = loopback(0);
    EXPECT_EQ(::bind(_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
}

UdpClient::~UdpClient() {
    ::close(_socket);
}

std::uint16_t UdpClient::port() const {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    EXPECT_EQ(::getsockname(_socket, reinterpret_cast<sockaddr*>(&address), &size), 0);
    return ntohs(address.sin_port);
}

bool UdpClient::mayHaveReceiveBufferOf(int bytes) const {
    if (::setsockopt(_socket, SOL_SOCKET, SO_RCVBUFFORCE, &bytes, sizeof bytes) == 0) return true;
    int granted = 0;
    socklen_t size = sizeof granted;
    EXPECT_EQ(::setsockopt(_socket, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes), 0);
    EXPECT_EQ(::getsockopt(_socket, SOL_SOCKET, SO_RCVBUF, &granted, &size), 0);
    return granted >= bytes * 2;  // the kernel doubles what it grants
}

void UdpClient::send(std::uint16_t port, const std::string& packet) const {
    const sockaddr_in address = loopback(port);
    const auto sent =
        ::sendto(_socket, packet.data(), packet.size(), 0, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    EXPECT_EQ(sent, static_cast<ssize_t>(packet.size()));
}

void UdpClient::sendAll(std::uint16_t port, const std::vector<std::string>& packets) const {
    sockaddr_in address = loopback(port);
    std::vector<iovec> vectors;
    vectors.reserve(packets.size());
    for (const auto& packet : packets) vectors.push_back({const_cast<char*>(packet.data()), packet.size()});
    std::vector<mmsghdr> headers(packets.size());
    for (std::size_t index = 0; index < packets.size(); ++index) {
        headers[index].msg_hdr.msg_name = &address;
        headers[index].msg_hdr.msg_namelen = sizeof address;
        headers[index].msg_hdr.msg_iov = &vectors[index];
        headers[index].msg_hdr.msg_iovlen = 1;
    }
    for (std::size_t sent = 0; sent < packets.size();) {
        const int count = ::sendmmsg(_socket, &headers[sent], static_cast<unsigned>(packets.size() - sent), 0);
        ASSERT_GT(count, 0);
        sent += static_cast<std::size_t>(count);
    }
}

}  // namespace zelvane

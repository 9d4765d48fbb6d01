// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/SessionManager.h"

#include "Platform/OSC/OSCPacket.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <span>

namespace zelvane {

namespace {

constexpr int kPatienceInMilliseconds = 60'000;

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

}  // namespace

SessionManager::SessionManager() : _socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    ::bind(_socket, reinterpret_cast<const sockaddr*>(&address), size);
    ::getsockname(_socket, reinterpret_cast<sockaddr*>(&address), &size);
    _port = ntohs(address.sin_port);
}

SessionManager::~SessionManager() {
    ::close(_socket);
}

OSCMessage SessionManager::next() {
    pollfd readable{_socket, POLLIN, 0};
    if (::poll(&readable, 1, kPatienceInMilliseconds) <= 0) return {};
    std::array<std::byte, 4096> bytes{};
    sockaddr_in sender{};
    socklen_t size = sizeof sender;
    const auto length = ::recvfrom(_socket, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&sender), &size);
    if (length <= 0) return {};
    _client = ntohs(sender.sin_port);
    auto parsed = parseOSCPacket(std::span(bytes).first(static_cast<std::size_t>(length)));
    return parsed.isPacket() ? parsed.packet().message() : OSCMessage{parsed.reason(), {}};
}

void SessionManager::send(const OSCMessage& message) const {
    const auto bytes = serializeOSCMessage(message);
    const sockaddr_in client = loopback(_client);
    ::sendto(_socket, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&client), sizeof client);
}

void SessionManager::welcome() const {
    send({"/reply",
          {{std::string("/nsm/server/announce")},
           {std::string("Welcome.")},
           {std::string("A manager")},
           {std::string(":server-control:")}}});
}

void SessionManager::open(const std::string& path, const std::string& clientID) const {
    send({"/nsm/client/open", {{path}, {std::string("A song")}, {clientID}}});
}

}  // namespace zelvane

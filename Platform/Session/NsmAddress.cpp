// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Session/NsmAddress.h"

#include "Platform/Foundation/FileDescriptor.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <charconv>
#include <string_view>

namespace zelvane {

namespace {

constexpr std::string_view kScheme = "osc.udp://";

std::optional<std::uint16_t> portFrom(std::string_view text) {
    std::uint16_t port = 0;
    const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (status != std::errc() || end != text.data() + text.size() || port == 0) return std::nullopt;
    return port;
}

std::string numeric(const sockaddr_in& address) {
    std::array<char, INET_ADDRSTRLEN> text{};
    ::inet_ntop(AF_INET, &address.sin_addr, text.data(), text.size());
    return text.data();
}

std::optional<sockaddr_in> resolve(const std::string& host, std::uint16_t port) {
    addrinfo wanted{};
    wanted.ai_family = AF_INET;
    wanted.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &wanted, &found) != 0) return std::nullopt;
    const sockaddr_in address = *reinterpret_cast<const sockaddr_in*>(found->ai_addr);
    ::freeaddrinfo(found);
    return address;
}

/// The kernel tells when a socket is connected, which sends nothing.
std::optional<sockaddr_in> localEndTowards(const sockaddr_in& remote) {
    const FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_in local{};
    socklen_t size = sizeof local;
    if (::connect(socket.number(), reinterpret_cast<const sockaddr*>(&remote), sizeof remote) != 0) return std::nullopt;
    if (::getsockname(socket.number(), reinterpret_cast<sockaddr*>(&local), &size) != 0) return std::nullopt;
    return local;
}

}  // namespace

std::optional<NsmAddress> NsmAddress::parse(const std::string& url) {
    if (!url.starts_with(kScheme)) return std::nullopt;
    std::string place = url.substr(kScheme.size());
    if (place.ends_with('/')) place.pop_back();
    const std::size_t colon = place.rfind(':');
    if (colon == std::string::npos || colon == 0) return std::nullopt;
    const auto port = portFrom(std::string_view(place).substr(colon + 1));
    const auto remote = port ? resolve(place.substr(0, colon), *port) : std::nullopt;
    const auto local = remote ? localEndTowards(*remote) : std::nullopt;
    if (!local) return std::nullopt;
    return NsmAddress{numeric(*remote), *port, numeric(*local)};
}

}  // namespace zelvane

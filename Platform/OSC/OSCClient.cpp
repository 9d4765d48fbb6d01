// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/OSC/OSCClient.h"

#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"
#include "Platform/OSC/OSCPacket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>

namespace zelvane {

namespace {

constexpr int kRefusalWaitMilliseconds = 20;

template <typename Number>
std::optional<Number> wholeWordAs(const std::string& word) {
    Number number{};
    const auto [end, status] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (status != std::errc() || end != word.data() + word.size()) return std::nullopt;
    return number;
}

OSCArgument argumentFromWord(const std::string& word) {
    if (const auto number = wholeWordAs<std::int32_t>(word)) return {*number};
    if (const auto number = wholeWordAs<std::int64_t>(word)) return {*number};
    if (const auto number = wholeWordAs<double>(word)) return {*number};
    return {word};
}

/// 0, or the reason for which the datagram did not arrive.
int sendDatagram(int socket, const sockaddr_in& address, const std::vector<std::byte>& bytes) {
    const auto* generic = reinterpret_cast<const sockaddr*>(&address);
    if (::connect(socket, generic, sizeof address) != 0) return errno;
    if (::send(socket, bytes.data(), bytes.size(), 0) < 0) return errno;
    pollfd refusal{socket, POLLERR, 0};
    if (::poll(&refusal, 1, kRefusalWaitMilliseconds) <= 0) return 0;
    int reason = 0;
    socklen_t length = sizeof reason;
    ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &reason, &length);
    return reason;
}

}  // namespace

OSCMessage oscMessageFromWords(const std::vector<std::string>& words) {
    OSCMessage message;
    if (words.empty()) return message;
    message.address = words.front();
    for (std::size_t i = 1; i < words.size(); ++i) message.arguments.push_back(argumentFromWord(words[i]));
    return message;
}

bool sendOSCMessage(const OSCMessage& message, const std::string& host, std::uint16_t port, Error& error) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (::inet_pton(AF_INET, host.c_str(), &address.sin_addr) != 1) {
        error = {"OSCClient", EINVAL, formatted(localizedString("%@ is no numeric address."), {host})};
        return false;
    }
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int reason = socket < 0 ? errno : sendDatagram(socket, address, serializeOSCMessage(message));
    if (socket >= 0) ::close(socket);
    if (reason == 0) return true;
    const std::string place = host + ":" + std::to_string(port);
    error = reason == ECONNREFUSED
                ? Error{"OSCClient", reason, formatted(localizedString("Nobody listens on %@."), {place})}
                : Error{"OSCClient", reason,
                        formatted(localizedString("Unable to send to %@: %@."), {place, std::strerror(reason)})};
    return false;
}

}  // namespace zelvane

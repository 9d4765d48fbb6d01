// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/OneInstance.h"

#include "Platform/Foundation/Thread.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>

namespace zelvane {

namespace {

using std::chrono::milliseconds;
using Time = std::chrono::steady_clock;

// Whoever connects says at once what it wants.
constexpr milliseconds kPatienceForRequest{1000};
constexpr std::size_t kLongestText = 65'536;

struct Address {
    explicit Address(const std::string& name)
        : length(static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size())) {
        socket.sun_family = AF_UNIX;
        // The abstract name space: the first byte is 0.
        std::memcpy(socket.sun_path + 1, name.data(), name.size());
    }
    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&socket); }

    sockaddr_un socket{};
    socklen_t length;
};

/// Short, and the same for all players of a user that share the folder.
std::string addressName(const std::filesystem::path& sharedFolder) {
    std::error_code error;
    const auto folder = std::filesystem::weakly_canonical(std::filesystem::absolute(sharedFolder, error), error);
    const std::size_t mark = std::hash<std::string>()(folder.string());
    return "zelvane-" + std::to_string(::getuid()) + "-" + std::to_string(mark);
}

FileDescriptor makeSocket() {
    return FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

/// What the other side sends until it ends its sending; none when it has not by then, or sends without end. What
/// `watched` has to say (a descriptor, or -1) ends the waiting too.
std::optional<std::string> readAll(int socket, Time::time_point end, int watched) {
    std::string text;
    std::array<char, 4096> piece{};
    for (;;) {
        const auto left = std::chrono::ceil<milliseconds>(end - Time::now()).count();
        std::array<pollfd, 2> waited{{{socket, POLLIN, 0}, {watched, POLLIN, 0}}};
        const int ready = ::poll(waited.data(), waited.size(), static_cast<int>(std::max<std::int64_t>(left, 0)));
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0 || waited[1].revents != 0) return std::nullopt;
        const auto length = ::read(socket, piece.data(), piece.size());
        if (length == 0) return text;
        if (length < 0 || text.size() > kLongestText) return std::nullopt;
        text.append(piece.data(), static_cast<std::size_t>(length));
    }
}

void sendAll(int socket, const std::string& text) {
    [[maybe_unused]] const auto sent = ::send(socket, text.data(), text.size(), MSG_NOSIGNAL);
    ::shutdown(socket, SHUT_WR);
}

/// For connecting too, which waits while more ask than are listened to.
void limitWaiting(int socket, milliseconds limit) {
    const timeval time{.tv_sec = limit.count() / 1000, .tv_usec = limit.count() % 1000 * 1000};
    ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time);
}

/// Anybody may take an address of that name space.
bool isOfThisUser(int socket) {
    ucred peer{};
    socklen_t length = sizeof peer;
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 && peer.uid == ::getuid();
}

}  // namespace

InstanceAnswer askFirstInstance(const std::filesystem::path& sharedFolder, const std::string& request,
                                milliseconds patience) {
    using enum InstanceAnswer::Outcome;
    const auto end = Time::now() + patience;
    const FileDescriptor socket = makeSocket();
    const Address address(addressName(sharedFolder));
    limitWaiting(socket.number(), patience);
    if (::connect(socket.number(), address.get(), address.length) != 0)
        return {errno == ECONNREFUSED ? noPlayer : silent, {}};
    if (!isOfThisUser(socket.number())) return {noPlayer, {}};
    sendAll(socket.number(), request);
    auto answer = readAll(socket.number(), end, -1);
    if (!answer || answer->empty()) return {silent, {}};
    return {answered, *std::move(answer)};
}

OneInstance::OneInstance(const std::filesystem::path& sharedFolder)
    : _sharedFolder(sharedFolder), _socket(makeSocket()) {
    const Address address(addressName(sharedFolder));
    if (::bind(_socket.number(), address.get(), address.length) == 0 && ::listen(_socket.number(), 8) == 0) return;
    _isFirst = errno != EADDRINUSE;
    _socket.close();
}

OneInstance::~OneInstance() {
    stopServing();
}

void OneInstance::stopServing() {
    if (!_server.joinable()) return;
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(_stop.number(), &one, sizeof one);
    _server.join();
}

void OneInstance::answerWith(Handler handler) {
    stopServing();
    if (!_socket.isOpen() || !handler) return;
    _stop = FileDescriptor(::eventfd(0, EFD_CLOEXEC));
    _server =
        startThread("zelvane-asked", ThreadRole::ordinary, [this, handler = std::move(handler)] { serve(handler); });
}

void OneInstance::serve(const Handler& handler) const {
    std::array<pollfd, 2> waited{{{_socket.number(), POLLIN, 0}, {_stop.number(), POLLIN, 0}}};
    while (::poll(waited.data(), waited.size(), -1) > 0 || errno == EINTR) {
        if (waited[1].revents != 0) return;
        const FileDescriptor caller(::accept4(_socket.number(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!caller.isOpen() || !isOfThisUser(caller.number())) continue;
        const auto request = readAll(caller.number(), Time::now() + kPatienceForRequest, _stop.number());
        if (request) sendAll(caller.number(), handler(*request));
    }
}

}  // namespace zelvane

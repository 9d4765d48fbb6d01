// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/OneInstance.h"

#include "Platform/Foundation/Thread.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <utility>

namespace zelvane {

namespace {

constexpr int kPatienceInMilliseconds = 5000;
constexpr std::size_t kLongestAnswer = 1024;

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

FileDescriptor makeSocket(int flags) {
    return FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
}

bool isReadable(int descriptor, int milliseconds) {
    pollfd readable{descriptor, POLLIN, 0};
    return ::poll(&readable, 1, milliseconds) > 0;
}

/// Anybody may take an address of that name space.
bool isOfThisUser(int socket) {
    ucred peer{};
    socklen_t length = sizeof peer;
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 && peer.uid == ::getuid();
}

}  // namespace

OneInstance::OneInstance(const std::filesystem::path& sharedFolder)
    : _address(addressName(sharedFolder)), _socket(makeSocket(0)) {
    const Address address(_address);
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

std::optional<std::string> OneInstance::callFirst() const {
    const FileDescriptor socket = makeSocket(0);
    const Address address(_address);
    if (::connect(socket.number(), address.get(), address.length) != 0 || !isOfThisUser(socket.number()))
        return std::nullopt;
    if (!isReadable(socket.number(), kPatienceInMilliseconds)) return std::nullopt;
    std::array<char, kLongestAnswer> answer{};
    const auto length = ::read(socket.number(), answer.data(), answer.size());
    if (length <= 0) return std::nullopt;
    return std::string(answer.data(), static_cast<std::size_t>(length));
}

void OneInstance::answerWith(Handler handler) {
    stopServing();
    if (!_socket.isOpen() || !handler) return;
    _stop = FileDescriptor(::eventfd(0, EFD_CLOEXEC));
    _server =
        startThread("zelvane-starts", ThreadRole::ordinary, [this, handler = std::move(handler)] { serve(handler); });
}

void OneInstance::serve(const Handler& handler) const {
    std::array<pollfd, 2> waited{{{_socket.number(), POLLIN, 0}, {_stop.number(), POLLIN, 0}}};
    while (::poll(waited.data(), waited.size(), -1) > 0 || errno == EINTR) {
        if (waited[1].revents != 0) return;
        const FileDescriptor caller(::accept4(_socket.number(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!caller.isOpen() || !isOfThisUser(caller.number())) continue;
        const std::string answer = handler();
        [[maybe_unused]] const auto sent = ::send(caller.number(), answer.data(), answer.size(), MSG_NOSIGNAL);
    }
}

}  // namespace zelvane

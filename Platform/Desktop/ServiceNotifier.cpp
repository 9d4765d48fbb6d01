// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/ServiceNotifier.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace zelvane {

void notifyServiceManager(const std::string& state) {
    const char* name = std::getenv("NOTIFY_SOCKET");
    sockaddr_un address{};
    if (name == nullptr || *name == '\0' || std::strlen(name) >= sizeof address.sun_path) return;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name, std::strlen(name));
    // A name that begins with @ belongs to the abstract name space.
    if (address.sun_path[0] == '@') address.sun_path[0] = '\0';
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0) return;
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + std::strlen(name));
    [[maybe_unused]] const auto sent =
        ::sendto(socket, state.data(), state.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address), length);
    ::close(socket);
}

}  // namespace zelvane

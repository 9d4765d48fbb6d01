// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks/Common/FluidSynthProgram.h"

#include "Benchmarks/Common/Require.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zelvane {

namespace {

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

std::uint16_t freeStreamPort() {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    ::bind(socket, reinterpret_cast<const sockaddr*>(&address), length);
    ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length);
    ::close(socket);
    return ntohs(address.sin_port);
}

}  // namespace

FluidSynthProgram::FluidSynthProgram(const std::filesystem::path& font)
    : _outputFile(_folder.path / "output"),
      _port(freeStreamPort()),
      _process({"sh", "-c", command(font)}, {}, _outputFile) {
    require(waitFor([this] { return connectToShell(); }, 10), "fluidsynth does not listen; is it installed?");
}

FluidSynthProgram::~FluidSynthProgram() {
    ::close(_socket);
}

// The shell tells its process number, which the synthesizer takes over.
std::string FluidSynthProgram::command(const std::filesystem::path& font) const {
    return "echo $$; exec fluidsynth -q -i -n -s -a jack -R 0 -C 0 -o shell.port=" + std::to_string(_port) + " '" +
           font.string() + "'";
}

bool FluidSynthProgram::connectToShell() {
    _socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(_port);
    if (::connect(_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(_socket);
        return false;
    }
    const int on = 1;
    return ::setsockopt(_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) == 0;
}

void FluidSynthProgram::send(const std::string& line) const {
    const std::string text = line + "\n";
    require(::send(_socket, text.data(), text.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(text.size()),
            "fluidsynth hears nothing any more");
}

pid_t FluidSynthProgram::process() const {
    return std::stoi(TemporaryFolder::read(_outputFile));
}

}  // namespace zelvane

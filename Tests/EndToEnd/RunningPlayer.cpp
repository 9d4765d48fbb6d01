// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/EndToEnd/RunningPlayer.h"

#include "Platform/OSC/OSCPacket.h"
#include "Tests/Fakes/TinySoundFont.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace zelvane {

namespace {

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

std::uint16_t freePort() {
    return UdpEar().port();
}

}  // namespace

UdpEar::UdpEar(std::uint16_t port) : _socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = loopback(port);
    socklen_t length = sizeof address;
    ::bind(_socket, reinterpret_cast<const sockaddr*>(&address), length);
    ::getsockname(_socket, reinterpret_cast<sockaddr*>(&address), &length);
    _port = ntohs(address.sin_port);
}

UdpEar::~UdpEar() {
    ::close(_socket);
}

std::string UdpEar::nextAddress(double seconds) const {
    pollfd readable{_socket, POLLIN, 0};
    if (::poll(&readable, 1, static_cast<int>(seconds * 1000)) <= 0) return {};
    std::array<std::byte, 2048> bytes{};
    const auto length = ::recv(_socket, bytes.data(), bytes.size(), 0);
    auto parsed = parseOSCPacket(std::span(bytes).first(static_cast<std::size_t>(length)));
    return parsed.isPacket() ? parsed.packet().message().address : parsed.reason();
}

void UdpEar::send(const OSCMessage& message, std::uint16_t port) const {
    const auto bytes = serializeOSCMessage(message);
    const sockaddr_in address = loopback(port);
    ::sendto(_socket, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

void RunningPlayer::install(const std::vector<std::string>& bundles) const {
    std::filesystem::create_directories(_home.path / "lv2");
    for (const auto& bundle : bundles)
        std::filesystem::create_directory_symlink(std::filesystem::path("/usr/lib/lv2") / bundle,
                                                  _home.path / "lv2" / bundle);
}

RunningPlayer::RunningPlayer(const std::vector<std::string>& options, const std::vector<std::string>& bundles,
                             const ChildProcess::Environment& desktop, std::string program)
    : port(freePort()), _program(std::move(program)), _environment(desktop), _outputFile(_home.path / "output") {
    install(bundles);
    std::filesystem::create_directories(_home.path / "data" / "soundfonts");
    writeTinySoundFont(_home.path / "data" / "soundfonts" / "default-GM.sf2");
    std::vector<std::string> command{"sh",
                                     "-c",
                                     R"(exec "$0" "$@" 2>&1)",
                                     _program,
                                     "--set",
                                     "port=" + std::to_string(port),
                                     "--set",
                                     "outPort=" + std::to_string(client.port())};
    if (desktop.empty()) command.emplace_back("--headless");
    command.insert(command.end(), options.begin(), options.end());
    _environment.merge(ChildProcess::Environment{{"HOME", _home.path},
                                                 {"LV2_PATH", _home.path / "lv2"},
                                                 {"XDG_CACHE_HOME", _home.path / "cache"},
                                                 {"XDG_CONFIG_HOME", _home.path / "config"},
                                                 {"XDG_DATA_HOME", _home.path / "data"}});
    _process = std::make_unique<ChildProcess>(command, _environment, _outputFile);
}

std::pair<int, std::string> RunningPlayer::startAgain(const std::vector<std::string>& options) const {
    std::vector<std::string> command{"sh", "-c", R"(exec "$0" "$@" 2>&1)", _program};
    command.insert(command.end(), options.begin(), options.end());
    const std::string output = _home.path / "second";
    ChildProcess second(command, _environment, output);
    const int status = second.wait();
    return {status, TemporaryFolder::read(output)};
}

std::string RunningPlayer::maps() const {
    return TemporaryFolder::read("/proc/" + std::to_string(_process->id()) + "/maps");
}

std::string RunningPlayer::output() const {
    std::ostringstream text;
    text << std::ifstream(_outputFile).rdbuf();
    return text.str();
}

bool RunningPlayer::isListening() const {
    const std::string line = "Zelvane: listening on 127.0.0.1:" + std::to_string(port) + "\n";
    return waitFor([&] { return output().find(line) != std::string::npos; }, 60);
}

int RunningPlayer::terminate() {
    _process->signal(SIGTERM);
    return _process->wait();
}

}  // namespace zelvane

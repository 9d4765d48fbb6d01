// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/PipeWireServer.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>

namespace zelvane {

namespace {

constexpr const char* kSocket = "pipewire-0";

}  // namespace

// The session manager waits for systemd's login service on behalf of Bluetooth, and without one connects nothing.
PipeWireServer::PipeWireServer() {
    const auto folder = _folder.path / "wireplumber" / "bluetooth.lua.d";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "80-off.lua") << "bluez_monitor.enabled = false\n";
    for (const auto& [name, value] : environment()) {
        if (name.starts_with("PIPEWIRE_")) setenv(name.c_str(), value.c_str(), 1);
    }
}

bool PipeWireServer::start() {
    _server.emplace(std::vector<std::string>{"pipewire"}, environment());
    if (!waitFor([this] { return std::filesystem::exists(_folder.path / kSocket); })) return false;
    _sessionManager.emplace(std::vector<std::string>{"dbus-run-session", "--", "wireplumber"}, environment());
    return ChildProcess::run({"pw-cli", "info", "0"}, environment());
}

void PipeWireServer::kill() {
    _server.reset();
    // It ends by itself with the server, and its bus with it; killed, it would leave the bus behind.
    if (_sessionManager) _sessionManager->wait();
    std::filesystem::remove(_folder.path / kSocket);  // or it would be taken for the next server's
}

bool PipeWireServer::addSink(const std::string& name, const std::string& description) {
    return ChildProcess::run(
        {"pw-cli", "create-node", "adapter",
         "{ factory.name=support.null-audio-sink node.name=" + name + " node.description=\"" + description +
             "\" media.class=Audio/Sink object.linger=true audio.rate=48000 audio.position=[FL FR] }"},
        environment());
}

bool PipeWireServer::removeSink(const std::string& name) {
    return ChildProcess::run({"pw-cli", "destroy", name}, environment());
}

bool PipeWireServer::force(const std::string& what, unsigned value) {
    return ChildProcess::run({"pw-metadata", "-n", "settings", "0", "clock.force-" + what, std::to_string(value)},
                             environment());
}

bool PipeWireServer::makeDefault(const std::string& name) {
    return ChildProcess::run(
        {"pw-metadata", "0", "default.configured.audio.sink", "{ \"name\": \"" + name + "\" }", "Spa:String:JSON"},
        environment());
}

ChildProcess::Environment PipeWireServer::environment() const {
    const std::string folder = _folder.path.string();
    return {{"PIPEWIRE_RUNTIME_DIR", folder},
            {"XDG_RUNTIME_DIR", folder},
            {"XDG_CONFIG_HOME", folder},
            {"XDG_STATE_HOME", folder},
            {"HOME", folder}};
}

}  // namespace zelvane

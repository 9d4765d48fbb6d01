// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/PulseServer.h"

#include <stdlib.h>

namespace zelvane {

PulseServer::PulseServer() {
    for (const auto& [name, value] : environment()) {
        if (name.starts_with("PULSE_")) setenv(name.c_str(), value.c_str(), 1);
    }
}

bool PulseServer::start() {
    const std::string socket = (_folder.path / "native").string();
    _process.emplace(std::vector<std::string>{"pulseaudio", "-n", "--daemonize=no", "--system=no",
                                              "--exit-idle-time=-1", "--use-pid-file=no", "--log-level=error", "-L",
                                              "module-native-protocol-unix auth-anonymous=1 socket=" + socket},
                     environment());
    return waitFor([this] { return control({"info"}); });
}

std::string PulseServer::addSink(const std::string& name, const std::string& description, unsigned sampleRate) {
    const std::string output = (_folder.path / "module").string();
    const bool isLoaded =
        control({"load-module", "module-null-sink", "sink_name=" + name, "rate=" + std::to_string(sampleRate),
                 "sink_properties=device.description='" + description + "'"},
                output);
    std::string module = isLoaded ? TemporaryFolder::read(output) : std::string();
    if (module.ends_with('\n')) module.pop_back();
    return module;
}

bool PulseServer::removeSink(const std::string& module) {
    return control({"unload-module", module});
}

bool PulseServer::control(const std::vector<std::string>& arguments, const std::string& outputFile) const {
    std::vector<std::string> command = {"pactl"};
    for (const std::string& argument : arguments) command.push_back(argument);
    return ChildProcess::run(command, environment(), outputFile);
}

ChildProcess::Environment PulseServer::environment() const {
    const std::string folder = _folder.path.string();
    return {{"PULSE_SERVER", "unix:" + folder + "/native"},
            {"PULSE_COOKIE", folder + "/cookie"},
            {"PULSE_RUNTIME_PATH", folder},
            {"PULSE_STATE_PATH", folder},
            {"XDG_RUNTIME_DIR", folder},
            {"XDG_CONFIG_HOME", folder},
            {"HOME", folder}};
}

}  // namespace zelvane

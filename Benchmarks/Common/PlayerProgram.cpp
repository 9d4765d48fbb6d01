// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks/Common/PlayerProgram.h"

namespace zelvane {

PlayerProgram::PlayerProgram(const std::vector<std::string>& options)
    : _port(LoopbackSocket().port()),
      _outputFile(_home.path / "output"),
      _started(Clock::monotonic().now()),
      _process(command(options), environment(), _outputFile) {}

// The shell tells its process number, which the player takes over.
std::vector<std::string> PlayerProgram::command(const std::vector<std::string>& options) const {
    std::vector<std::string> words{"sh",
                                   "-c",
                                   R"(echo $$; exec "$0" "$@")",
                                   ZELVANE_PROGRAM,
                                   "--headless",
                                   "--set",
                                   "port=" + std::to_string(_port),
                                   "--set",
                                   "outPort=" + std::to_string(_client.port())};
    words.insert(words.end(), options.begin(), options.end());
    return words;
}

ChildProcess::Environment PlayerProgram::environment() const {
    return {{"HOME", _home.path},
            {"LV2_PATH", _home.path / "lv2"},
            {"XDG_CACHE_HOME", _home.path / "cache"},
            {"XDG_CONFIG_HOME", _home.path / "config"},
            {"XDG_DATA_HOME", _home.path / "data"}};
}

bool PlayerProgram::isListening() const {
    return output().find("Zelvane: listening on 127.0.0.1:" + std::to_string(_port) + "\n") != std::string::npos;
}

pid_t PlayerProgram::process() const {
    return std::stoi(output());
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/EndToEnd/RunningPlayer.h"

#include "Tests/Fakes/TinySoundFont.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace zelvane {

std::string RunningPlayer::copyWithoutLists(const std::filesystem::path& folder) {
    using namespace std::filesystem;
    const path program = ZELVANE_PROGRAM;
    create_directories(folder / "bin");
    copy(program, folder / "bin");
    for (const char* part : {"lib", "share"})
        copy(program.parent_path().parent_path() / part, folder / part, copy_options::recursive);
    remove_all(folder / "share" / "Zelvane" / "PropertyLists");
    return folder / "bin" / program.filename();
}

void RunningPlayer::install(const std::vector<std::string>& bundles) const {
    std::filesystem::create_directories(_home.path / "lv2");
    for (const auto& bundle : bundles)
        std::filesystem::create_directory_symlink(std::filesystem::path("/usr/lib/lv2") / bundle,
                                                  _home.path / "lv2" / bundle);
}

RunningPlayer::RunningPlayer(const std::vector<std::string>& options, const std::vector<std::string>& bundles,
                             const ChildProcess::Environment& desktop, std::string program)
    : port(LoopbackSocket().port()),
      _program(std::move(program)),
      _environment(desktop),
      _outputFile(_home.path / "output") {
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

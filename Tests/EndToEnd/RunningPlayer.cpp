// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/EndToEnd/RunningPlayer.h"

#include "Tests/Fakes/TinySoundFont.h"

#include <csignal>
#include <filesystem>

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
    std::vector<std::string> words{"--set", "port=" + std::to_string(port), "--set",
                                   "outPort=" + std::to_string(client.port())};
    if (desktop.empty()) words.emplace_back("--headless");
    words.insert(words.end(), options.begin(), options.end());
    _environment.merge(ChildProcess::Environment{{"HOME", _home.path},
                                                 {"LV2_PATH", _home.path / "lv2"},
                                                 {"XDG_CACHE_HOME", _home.path / "cache"},
                                                 {"XDG_CONFIG_HOME", _home.path / "config"},
                                                 {"XDG_DATA_HOME", _home.path / "data"}});
    _process = std::make_unique<ChildProcess>(withErrors(_program, words), _environment, _outputFile);
}

std::pair<int, std::string> RunningPlayer::startAgain(const std::vector<std::string>& options) const {
    const std::string output = _home.path / "second";
    ChildProcess second(withErrors(_program, options), _environment, output);
    const int status = second.wait();
    return {status, TemporaryFolder::read(output)};
}

std::string RunningPlayer::maps() const {
    return TemporaryFolder::read("/proc/" + std::to_string(_process->id()) + "/maps");
}

std::string RunningPlayer::output() const {
    return TemporaryFolder::read(_outputFile);
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

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/JackServer.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <thread>

namespace zelvane {

namespace {

// JACK knows eight servers of a machine, and one that was killed keeps its place until a server of its name starts
// again. So the names come from a small stock, each held by one test at a time.
constexpr int kNames = 6;

bool isAnyServerRunning() {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", error)) {
        std::string name;
        std::ifstream(entry.path() / "comm") >> name;
        if (name == "jackd") return true;
    }
    return false;
}

/// When all places are taken by servers that were killed under other names, JACK starts none any more.
void forgetDeadServers() {
    if (!isAnyServerRunning()) std::filesystem::remove("/dev/shm/jack-shm-registry");
}

/// Holds a name of the stock; the lock ends with the process if not before.
int holdName(std::string& name) {
    for (int number = 0;; number = (number + 1) % kNames) {
        name = "zelvane-test-" + std::to_string(number);
        const std::string file = std::filesystem::temp_directory_path() / (name + ".lock");
        const int lock = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        if (lock >= 0 && flock(lock, LOCK_EX | LOCK_NB) == 0) return lock;
        if (lock >= 0) close(lock);
        if (number == kNames - 1) std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
}

}  // namespace

JackServer::JackServer() : _lock(holdName(_name)) {
    setenv("JACK_DEFAULT_SERVER", _name.c_str(), 1);
    setenv("JACK_NO_START_SERVER", "1", 1);
    setenv("PIPEWIRE_RUNTIME_DIR", "/nonexistent", 1);  // a desktop's PipeWire may run on this machine
}

JackServer::~JackServer() {
    thaw();
    if (_process) {
        _process->signal(SIGTERM);
        waitFor([this] { return _process->hasEnded(); }, 2);
    }
    kill();
    removeLeftovers();
    close(_lock);
}

bool JackServer::start(unsigned sampleRate, unsigned periodFrames) {
    if (tryToStart(sampleRate, periodFrames)) return true;
    forgetDeadServers();
    return tryToStart(sampleRate, periodFrames);
}

bool JackServer::tryToStart(unsigned sampleRate, unsigned periodFrames) {
    _process.emplace(
        std::vector<std::string>{"sh", "-c", R"(exec "$0" "$@" 2>&1)", "jackd", "-n", _name, "-R", "-d", "dummy", "-r",
                                 std::to_string(sampleRate), "-p", std::to_string(periodFrames)},
        ChildProcess::Environment{}, outputFile());
    // Asked for its ports again and again: the tool that waits for a server looks once a second only.
    const auto answers = [&] { return _process->hasEnded() || tool({"jack_lsp", "-s", _name}); };
    return waitFor(answers) && !_process->hasEnded();
}

void JackServer::kill() {
    thaw();
    _process.reset();
}

void JackServer::freeze() const {
    if (_process) _process->signal(SIGSTOP);
}

void JackServer::thaw() const {
    if (_process) _process->signal(SIGCONT);
}

bool JackServer::tool(const std::vector<std::string>& command, const std::string& outputFile) const {
    return ChildProcess::run(command, {}, outputFile);
}

std::string JackServer::answer(const std::vector<std::string>& command) const {
    const TemporaryFolder folder;
    const std::string file = folder.path / "answer";
    return tool(command, file) ? TemporaryFolder::read(file) : std::string();
}

/// What a killed server leaves would add up in the shared memory of the machine.
void JackServer::removeLeftovers() const {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm", error)) {
        std::error_code ignored;
        if (entry.path().filename().string().find("_" + _name + "_") != std::string::npos) {
            std::filesystem::remove_all(entry.path(), ignored);
        }
    }
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace zelvane {

namespace {

std::vector<std::string> mergedEnvironment(ChildProcess::Environment variables) {
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        variables.try_emplace(text.substr(0, text.find('=')), text.substr(text.find('=') + 1));
    }
    std::vector<std::string> merged;
    for (const auto& [name, value] : variables) merged.push_back(name + "=" + value);
    return merged;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command, const Environment& environment,
                           const std::string& outputFile) {
    // It may not outlive a test that is killed: a JACK server left behind would keep its name from all later ones.
    std::vector<std::string> words = {"setpriv", "--pdeathsig", "KILL"};
    words.insert(words.end(), command.begin(), command.end());
    std::vector<std::string> variables = mergedEnvironment(environment);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    const std::string output = outputFile.empty() ? "/dev/null" : outputFile;
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    if (posix_spawnp(&_process, words.front().c_str(), &files, nullptr, pointers(words).data(),
                     pointers(variables).data()) != 0) {
        _process = -1;
    }
    posix_spawn_file_actions_destroy(&files);
}

ChildProcess::~ChildProcess() {
    kill();
}

void ChildProcess::signal(int number) const {
    if (_process > 0) ::kill(_process, number);
}

void ChildProcess::kill() {
    signal(SIGKILL);
    wait();
}

bool ChildProcess::hasEnded() {
    if (_process > 0 && waitpid(_process, nullptr, WNOHANG) == _process) _process = -1;
    return _process <= 0;
}

int ChildProcess::wait() {
    int status = -1;
    if (_process > 0) waitpid(_process, &status, 0);
    _process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool ChildProcess::run(const std::vector<std::string>& command, const Environment& environment,
                       const std::string& outputFile) {
    return ChildProcess(command, environment, outputFile).wait() == 0;
}

std::vector<std::string> withErrors(const std::string& program, const std::vector<std::string>& options) {
    std::vector<std::string> command{"sh", "-c", R"(exec "$0" "$@" 2>&1)", program};
    command.insert(command.end(), options.begin(), options.end());
    return command;
}

bool waitFor(const std::function<bool()>& condition, double seconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

}  // namespace zelvane

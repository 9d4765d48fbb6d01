// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/SpawnedProcess.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <limits>
#include <string_view>
#include <utility>

namespace zelvane {

namespace {

/// All that the child needs to know, made before it is there: it may not allocate.
struct Start {
    std::vector<char*> words;
    std::vector<char*> variables;
    pid_t parent = 0;
    int nothing = -1;  // the null device
    int report = -1;
    rlim_t seconds = RLIM_INFINITY;
    rlim_t addressSpace = RLIM_INFINITY;
    int niceness = 0;
};

/// Variables that would let the program reach a desktop, or speak to the service manager in our name.
bool isWithheld(const std::string& name) {
    return name == "DISPLAY" || name == "WAYLAND_DISPLAY" || name == "NOTIFY_SOCKET";
}

std::vector<std::string> environmentFor(const ProcessLimits& limits) {
    auto variables = limits.environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view text = *entry;
        const std::string name(text.substr(0, text.find('=')));
        if (!isWithheld(name) && name.size() < text.size())
            variables.try_emplace(name, std::string(text.substr(name.size() + 1)));
    }
    std::vector<std::string> lines;
    lines.reserve(variables.size());
    for (const auto& [name, value] : variables) lines.push_back(name + "=" + value);
    return lines;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// A descriptor above those that the child sets up, so that setting up one does not close another.
FileDescriptor moved(FileDescriptor descriptor) {
    return FileDescriptor(::fcntl(descriptor.number(), F_DUPFD_CLOEXEC, kReportDescriptor + 1));
}

void limit(__rlimit_resource resource, rlim_t value, rlim_t last) {
    const rlimit both{value, last};
    ::setrlimit(resource, &both);
}

void applyLimits(const Start& start) {
    // One byte, not none: only that keeps a program that collects core dumps from being started too.
    limit(RLIMIT_CORE, 1, 1);
    if (start.seconds != RLIM_INFINITY) limit(RLIMIT_CPU, start.seconds, start.seconds + 1);
    if (start.addressSpace != RLIM_INFINITY) limit(RLIMIT_AS, start.addressSpace, start.addressSpace);
    if (start.niceness != 0) ::setpriority(PRIO_PROCESS, 0, start.niceness);
}

void resetSignals() {
    std::signal(SIGPIPE, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// The child, which shares all memory with its parent until it is the other program.
[[noreturn]] void becomeProgram(const Start& start) {
    constexpr int kNoSuchProgram = 127;
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
    if (::getppid() != start.parent) ::_exit(kNoSuchProgram);  // it died before it was watched
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) ::dup2(start.nothing, standard);
    ::dup2(start.report, kReportDescriptor);
    ::close_range(kReportDescriptor + 1, std::numeric_limits<unsigned>::max(), 0);
    applyLimits(start);
    resetSignals();
    ::execve(start.words.front(), start.words.data(), start.variables.data());
    ::_exit(kNoSuchProgram);
}

/// Not fork: that would have every page of ours copied that the audio thread writes to next.
pid_t spawn(const Start& start) {
    const pid_t child = ::vfork();
    if (child == 0) becomeProgram(start);
    return child;
}

rlim_t wholeSeconds(std::chrono::milliseconds time) {
    return static_cast<rlim_t>(time.count() / 1000 + 1);
}

}  // namespace

SpawnedProcess::SpawnedProcess(const std::vector<std::string>& command, const ProcessLimits& limits) {
    std::vector<std::string> words = command;
    std::vector<std::string> variables = environmentFor(limits);
    std::array<int, 2> pipe{-1, -1};
    if (words.empty() || ::access(words.front().c_str(), X_OK) != 0) return;
    if (::pipe2(pipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
    _report = FileDescriptor(pipe[0]);
    const FileDescriptor written = moved(FileDescriptor(pipe[1]));
    ::fcntl(written.number(), F_SETFL, 0);  // whoever writes the report may wait
    const FileDescriptor nothing = moved(FileDescriptor(::open("/dev/null", O_RDWR | O_CLOEXEC)));
    const Start start{.words = pointers(words),
                      .variables = pointers(variables),
                      .parent = ::getpid(),
                      .nothing = nothing.number(),
                      .report = written.number(),
                      .seconds = wholeSeconds(limits.time),
                      .addressSpace = limits.limitsAddressSpace ? limits.memory : RLIM_INFINITY,
                      .niceness = limits.niceness};
    _process = spawn(start);
    if (_process <= 0) return;
    ::setpgid(_process, _process);  // whichever of the two is first
    _handle = FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, _process, 0)));
}

SpawnedProcess::~SpawnedProcess() {
    end();
}

std::uint64_t SpawnedProcess::residentBytes() const {
    const std::string name = "/proc/" + std::to_string(_process) + "/statm";
    const FileDescriptor file(::open(name.c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, 128> text{};
    if (!file.isOpen() || ::read(file.number(), text.data(), text.size() - 1) <= 0) return 0;
    unsigned long long size = 0;
    unsigned long long resident = 0;
    if (std::sscanf(text.data(), "%llu %llu", &size, &resident) != 2) return 0;
    return resident * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

ExitState SpawnedProcess::end() {
    if (_process <= 0) return {};
    // Before it is waited for: until then the number of its group can't be another's.
    ::kill(-_process, SIGKILL);
    int status = 0;
    while (::waitpid(_process, &status, 0) < 0 && errno == EINTR) {
    }
    _process = -1;
    if (WIFSIGNALED(status)) return {true, WTERMSIG(status)};
    return {false, WEXITSTATUS(status)};
}

}  // namespace zelvane

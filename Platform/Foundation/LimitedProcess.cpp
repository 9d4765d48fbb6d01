// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/LimitedProcess.h"

#include "Platform/Foundation/FileDescriptor.h"
#include "Platform/Foundation/SpawnedProcess.h"

#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace zelvane {

namespace {

using std::chrono::milliseconds;
using SteadyClock = std::chrono::steady_clock;

constexpr int kNoSuchProgram = 127;
constexpr milliseconds kBetweenLooks{20};

/// Cuts the report into lines as it comes. A line without end isn't kept for ever.
class ReportReader {
  public:
    ReportReader(int descriptor, const std::function<void(std::string_view)>& onLine)
        : _descriptor(descriptor), _onLine(onLine) {}

    /// False at the end of the report.
    bool readWhatIsThere() {
        std::array<char, 4096> buffer{};
        while (true) {
            const ssize_t count = ::read(_descriptor, buffer.data(), buffer.size());
            if (count < 0) return errno == EAGAIN || errno == EINTR;
            if (count == 0) return false;
            _rest.append(buffer.data(), static_cast<std::size_t>(count));
            handOn();
        }
    }

  private:
    void handOn() {
        constexpr std::size_t kLongestLine = std::size_t{1} << 16;
        for (auto end = _rest.find('\n'); end != std::string::npos; end = _rest.find('\n')) {
            if (_onLine) _onLine(std::string_view(_rest).substr(0, end));
            _rest.erase(0, end + 1);
        }
        if (_rest.size() > kLongestLine) _rest.clear();
    }

    const int _descriptor;
    const std::function<void(std::string_view)>& _onLine;
    std::string _rest;
};

/// Why it has to go now, if it has to.
std::optional<ProcessEnd::Kind> reasonToEnd(const SpawnedProcess& process, const ProcessLimits& limits,
                                            SteadyClock::time_point begin, const std::stop_token& stop) {
    if (stop.stop_requested()) return ProcessEnd::Kind::stopped;
    if (SteadyClock::now() - begin >= limits.time) return ProcessEnd::Kind::tookTooLong;
    if (process.residentBytes() > limits.memory) return ProcessEnd::Kind::usedTooMuchMemory;
    return std::nullopt;
}

/// Returns why it had to be ended; none when it ended by itself.
std::optional<ProcessEnd::Kind> watch(const SpawnedProcess& process, const ProcessLimits& limits, ReportReader& report,
                                      const std::stop_token& stop) {
    const auto begin = SteadyClock::now();
    int readable = process.report();
    while (true) {
        std::array<pollfd, 2> events{{{process.descriptor(), POLLIN, 0}, {readable, POLLIN, 0}}};
        ::poll(events.data(), events.size(), static_cast<int>(kBetweenLooks.count()));
        if (events[1].revents != 0 && !report.readWhatIsThere()) readable = -1;
        if (events[0].revents != 0) return std::nullopt;
        if (const auto reason = reasonToEnd(process, limits, begin, stop)) return reason;
    }
}

ProcessEnd ending(const ExitState& state) {
    if (!state.isSignal) {
        return {state.number == kNoSuchProgram ? ProcessEnd::Kind::notStarted : ProcessEnd::Kind::exited, state.number};
    }
    // The kernel's own limit on processor time.
    if (state.number == SIGXCPU) return {ProcessEnd::Kind::tookTooLong, 0};
    return {ProcessEnd::Kind::crashed, state.number};
}

std::string signalInWords(int signal) {
    switch (signal) {
        case SIGSEGV:
            return "crashed (segmentation fault)";
        case SIGBUS:
            return "crashed (bus error)";
        case SIGFPE:
            return "crashed (arithmetic error)";
        case SIGILL:
            return "crashed (illegal instruction)";
        case SIGABRT:
            return "aborted";
        default:
            return "was ended by signal " + std::to_string(signal);
    }
}

std::string secondsInWords(milliseconds time) {
    const auto tenths = (time.count() + 50) / 100;
    std::string text = std::to_string(tenths / 10);
    if (tenths % 10 != 0) text += "." + std::to_string(tenths % 10);
    return text + (tenths == 10 ? " second" : " seconds");
}

}  // namespace

ProcessEnd runLimited(const std::vector<std::string>& command, const ProcessLimits& limits,
                      const std::function<void(std::string_view line)>& onLine, const std::stop_token& stop) {
    SpawnedProcess process(command, limits);
    if (!process.isRunning()) return {ProcessEnd::Kind::notStarted, 0};
    ReportReader report(process.report(), onLine);
    const auto reason = watch(process, limits, report, stop);
    const ExitState state = process.end();
    report.readWhatIsThere();
    return reason ? ProcessEnd{*reason, 0} : ending(state);
}

std::string inWords(const ProcessEnd& end, const ProcessLimits& limits) {
    switch (end.kind) {
        case ProcessEnd::Kind::exited:
            return "ended the program";
        case ProcessEnd::Kind::crashed:
            return signalInWords(end.number);
        case ProcessEnd::Kind::tookTooLong:
            return "did not finish within " + secondsInWords(limits.time);
        case ProcessEnd::Kind::usedTooMuchMemory:
            return "used too much memory";
        case ProcessEnd::Kind::stopped:
            return "was stopped";
        case ProcessEnd::Kind::notStarted:
            break;
    }
    return "could not be tried";
}

}  // namespace zelvane

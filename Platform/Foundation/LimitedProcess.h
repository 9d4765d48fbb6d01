// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace zelvane {

/// What a program that can't be trusted may use.
struct ProcessLimits {
    std::chrono::milliseconds time = std::chrono::seconds(30);  ///< by the clock, and of the processor
    std::uint64_t memory = std::uint64_t{4} << 30;              ///< bytes
    /// Whether allocations beyond `memory` fail. Without that the program is ended once it really uses so much: for one
    /// that reserves far more than it uses.
    bool limitsAddressSpace = true;
    int niceness = 0;
    std::map<std::string, std::string> environment = {};  ///< variables on top of ours
};

/// How a program ended.
struct ProcessEnd {
    enum class Kind { exited, crashed, tookTooLong, usedTooMuchMemory, stopped, notStarted };

    Kind kind = Kind::notStarted;
    int number = 0;  ///< the exit status, or the signal of a crash
};

/// The file descriptor on which such a program tells what it has found out, out of reach of what libraries print.
inline constexpr int kReportDescriptor = 3;

/// Runs a program, named by its path, to its end and hands every line of its report to `onLine`, on this thread. It
/// sees no display, no terminal and none of our files. Neither it nor what it has started outlives this call, or the
/// thread that makes it. Any thread but the audio thread, which isn't disturbed either: no page of ours is copied.
ProcessEnd runLimited(const std::vector<std::string>& command, const ProcessLimits& limits,
                      const std::function<void(std::string_view line)>& onLine = {}, const std::stop_token& stop = {});

/// What went wrong, to stand behind a name: "crashed (segmentation fault)".
std::string inWords(const ProcessEnd& end, const ProcessLimits& limits);

}  // namespace zelvane

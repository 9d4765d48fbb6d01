// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks/Desktop/RealtimeWait.h"

#include <sched.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace zelvane {

std::chrono::nanoseconds realtimeWaitOf(pid_t process) {
    std::chrono::nanoseconds all(0);
    const std::filesystem::path threads = "/proc/" + std::to_string(process) + "/task";
    for (const auto& thread : std::filesystem::directory_iterator(threads)) {
        const int policy = sched_getscheduler(std::stoi(thread.path().filename()));
        if ((policy & ~SCHED_RESET_ON_FORK) != SCHED_FIFO) continue;
        long long running = 0, waiting = 0;
        std::ifstream(thread.path() / "schedstat") >> running >> waiting;
        all += std::chrono::nanoseconds(waiting);
    }
    return all;
}

}  // namespace zelvane

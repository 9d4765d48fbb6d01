// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks/Desktop/LostTime.h"

#include <sched.h>
#include <unistd.h>

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

std::chrono::nanoseconds stolenTime() {
    std::ifstream cores("/proc/stat");
    std::string all;
    long long user = 0, nice = 0, system = 0, idle = 0, disk = 0, interrupts = 0, softInterrupts = 0, stolen = 0;
    cores >> all >> user >> nice >> system >> idle >> disk >> interrupts >> softInterrupts >> stolen;
    return stolen * std::chrono::nanoseconds(std::chrono::seconds(1)) / ::sysconf(_SC_CLK_TCK);
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Thread.h"

#include "Platform/Foundation/Log.h"

#include <pthread.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <exception>

namespace zelvane {

namespace {

/// Small numbers on purpose. Any real-time priority is above every ordinary process, and a sound server's threads, ours
/// in its client library among them, start at 5 (JACK) or run near 80 (PipeWire): they must not wait for us. The reader
/// stands above the player, so that a long piece of work does not let the kernel's packet buffer run over.
int priority(ThreadRole role) {
    switch (role) {
        case ThreadRole::ordinary:
            return 0;
        case ThreadRole::player:
            return 2;
        case ThreadRole::reader:
            return 3;
        case ThreadRole::audio:
            return 4;
    }
    return 0;
}

/// Without real-time priority, a larger share of the processor than the other programs of the desktop.
constexpr int kNiceness = -11;

std::string shortened(const std::string& name) {
    constexpr std::size_t kLongestName = 15;
    if (name.size() <= kLongestName) return name;
    std::size_t end = kLongestName;
    while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0U) == 0x80U) --end;  // no half characters
    return name.substr(0, end);
}

void runBody(const std::string& name, const std::function<void()>& body) {
    try {
        body();
    } catch (const std::exception& exception) {
        Log::write("Thread: [%@] %@ ended by an exception: %@", {"main", name, exception.what()});
    } catch (...) {
        Log::write("Thread: [%@] %@ ended by an exception: %@", {"main", name, "unknown exception"});
    }
}

}  // namespace

std::jthread startThread(const std::string& name, ThreadRole role, std::function<void()> body) {
    return std::jthread([name, role, body = std::move(body)] {
        pthread_setname_np(pthread_self(), shortened(name).c_str());
        adoptRole(role);
        runBody(name, body);
    });
}

bool adoptRole(ThreadRole role) {
    if (role == ThreadRole::ordinary) return true;
    // Sleeps of a thread without real-time priority may else be drawn out by 50 µs.
    prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    sched_param parameters{};
    parameters.sched_priority = priority(role);
    // Threads and processes that this one starts, or that a library starts from it, do not inherit the priority.
    if (pthread_setschedparam(pthread_self(), SCHED_FIFO | SCHED_RESET_ON_FORK, &parameters) == 0) return true;
    parameters.sched_priority = 0;
    pthread_setschedparam(pthread_self(), SCHED_OTHER | SCHED_RESET_ON_FORK, &parameters);
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), kNiceness);
    return false;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Resources/TerminationSignals.h"

#include <pthread.h>

#include <csignal>

namespace zelvane {

namespace {

// Sent by the destructor to end the thread.
constexpr int kEndOfWatch = SIGUSR2;

sigset_t watchedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, kEndOfWatch}) sigaddset(&signals, signal);
    return signals;
}

}  // namespace

TerminationSignals::TerminationSignals(std::function<void()> handler) {
    std::signal(SIGPIPE, SIG_IGN);
    const sigset_t signals = watchedSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    _thread = std::jthread([signals, handler = std::move(handler)] {
        int signal = 0;
        while (sigwait(&signals, &signal) == 0 && signal != kEndOfWatch) handler();
    });
}

TerminationSignals::~TerminationSignals() {
    pthread_kill(_thread.native_handle(), kEndOfWatch);
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Jack/ScopedBrokenPipeBlock.h"

#include <signal.h>
#include <time.h>

namespace zelvane {

namespace {

sigset_t brokenPipe() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    return signals;
}

}  // namespace

ScopedBrokenPipeBlock::ScopedBrokenPipeBlock() {
    const sigset_t signals = brokenPipe();
    sigset_t former;
    pthread_sigmask(SIG_BLOCK, &signals, &former);
    _wasBlocked = sigismember(&former, SIGPIPE) == 1;
}

ScopedBrokenPipeBlock::~ScopedBrokenPipeBlock() {
    if (_wasBlocked) return;
    // One that came meanwhile must not strike as soon as it is let through.
    const sigset_t signals = brokenPipe();
    const timespec atOnce{};
    while (sigtimedwait(&signals, nullptr, &atOnce) > 0) {
    }
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

}  // namespace zelvane

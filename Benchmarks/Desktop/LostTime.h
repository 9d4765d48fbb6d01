// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <chrono>

namespace zelvane {

/// How long the real-time threads of a process were ready to run but had no core since they began, all together.
std::chrono::nanoseconds realtimeWaitOf(pid_t process);

/// How long this machine's cores were taken from it by its host since it began, all together: nothing where it has no
/// host.
std::chrono::nanoseconds stolenTime();

}  // namespace zelvane

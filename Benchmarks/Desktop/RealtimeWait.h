// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <sys/types.h>

namespace zelvane {

/// How long the real-time threads of a process were ready to run but had no core since they began, all together: what
/// other threads of this machine took from them. What the host of a virtual machine takes is not in it.
std::chrono::nanoseconds realtimeWaitOf(pid_t process);

}  // namespace zelvane

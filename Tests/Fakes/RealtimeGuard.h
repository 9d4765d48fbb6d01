// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace zelvane {

/// What threads did inside a `RealtimeScope` that a thread with a deadline must not do.
struct RealtimeViolations {
    unsigned long allocations = 0;  ///< memory asked for, grown or freed
    unsigned long locks = 0;        ///< mutexes locked, conditions and semaphores signalled or waited for
    unsigned long systemCalls = 0;  ///< files, sockets, sleeps

    unsigned long total() const { return allocations + locks + systemCalls; }
};

/// Watches the whole program that links it, whatever library the call comes from. Without effect under the sanitizers,
/// which stand in the same places.
class RealtimeGuard {
  public:
    /// False under the sanitizers: then nothing is ever counted.
    static bool isEnabled();

    /// Forgets what was counted, on all threads.
    static void reset();
    static RealtimeViolations violations();

    /// Where the first violation since `reset` came from, one line a call; empty when there was none.
    static std::string firstOffender();
};

}  // namespace zelvane

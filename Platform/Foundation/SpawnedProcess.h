// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/FileDescriptor.h"
#include "Platform/Foundation/LimitedProcess.h"

#include <sys/types.h>

#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

namespace zelvane {

/// What the kernel says of a process that has ended.
struct ExitState {
    bool isSignal = false;
    int number = 0;
};

/// A child process with the limits put on it, in a group of its own that ends with it. Used by one thread.
class SpawnedProcess {
  public:
    SpawnedProcess(const std::vector<std::string>& command, const ProcessLimits& limits);
    ~SpawnedProcess();
    SpawnedProcess(const SpawnedProcess&) = delete;
    SpawnedProcess& operator=(const SpawnedProcess&) = delete;

    bool isRunning() const { return _process > 0; }
    /// Readable once it has ended.
    int descriptor() const { return _handle.number(); }
    /// Where its report is read from, without waiting.
    int report() const { return _report.number(); }
    std::uint64_t residentBytes() const;

    /// Ends it and all it has started, if it has not ended by itself, and says how it did.
    ExitState end();

  private:
    pid_t _process = -1;
    FileDescriptor _handle;
    FileDescriptor _report;
};

}  // namespace zelvane

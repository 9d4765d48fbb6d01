// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace zelvane {

/// Has a file written through to the disk, on a thread of its own: a disk that takes its time over that keeps nobody
/// from handing the system more, which is safe from a crash of the program already. Used by one thread.
class DiskSync {
  public:
    explicit DiskSync(int descriptor);
    ~DiskSync();
    DiskSync(const DiskSync&) = delete;
    DiskSync& operator=(const DiskSync&) = delete;

    /// Everything written so far shall get to the disk. Does not wait. Throws `RecordingError` when it failed before.
    void request();

  private:
    void run();

    const int _descriptor;
    std::mutex _mutex;
    std::condition_variable _condition;
    bool _isWanted = false;  // guarded, like the following
    bool _isEnding = false;
    int _error = 0;
    std::jthread _thread;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace zelvane {

/// Which threads are calling listeners just now, so that who takes listeners away can wait until none is called any
/// more. Any thread but the audio thread.
class CallsUnderWay {
  public:
    /// One call, for as long as it lives.
    class Call {
      public:
        explicit Call(CallsUnderWay& calls);
        ~Call();
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;

      private:
        CallsUnderWay& _calls;
    };

    /// Returns when no other thread is in a call. The thread's own calls do not count: it would wait for itself.
    void waitForOthers();

  private:
    std::mutex _mutex;
    std::condition_variable _condition;
    std::vector<std::thread::id> _threads;  // guarded by _mutex; once for each call
};

}  // namespace zelvane

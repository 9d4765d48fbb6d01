// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AUListener.h"
#include "Platform/Audio/Units/CallsUnderWay.h"
#include "Platform/Foundation/RunLoop.h"

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace zelvane {

struct AUParameterRegistration;

/// A listener to parameters: it gathers edits for an interval and then makes the calls.
class AUListenerBase : public std::enable_shared_from_this<AUListenerBase> {
  public:
    AUListenerBase(AUParameterListenerProc procedure, void* userData, RunLoop* runLoop, Duration interval)
        : _procedure(procedure), _userData(userData), _runLoop(runLoop), _interval(interval) {}

    /// Takes note of a value, which replaces one that has not been told yet.
    void parameterEdited(const std::shared_ptr<AUParameterRegistration>& registration, float value);
    void dispose();
    void waitForOtherCalls() { _calls.waitForOthers(); }

  private:
    struct Edit {
        std::weak_ptr<AUParameterRegistration> registration;
        float value = 0;
    };

    void tell();
    void schedule(Duration delay);
    bool isDisposed();

    const AUParameterListenerProc _procedure;
    void* const _userData;
    RunLoop* const _runLoop;
    const Duration _interval;

    std::mutex _mutex;
    std::vector<Edit> _edits;   // guarded by _mutex; in the order in which they were first made
    bool _isScheduled = false;  // guarded by _mutex
    bool _isDisposed = false;   // guarded by _mutex
    TimePoint _lastTold{};      // guarded by _mutex
    CallsUnderWay _calls;
};

}  // namespace zelvane

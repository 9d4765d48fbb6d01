// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioHardware.h"

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace zelvane {

/// Calls listeners when the value of a property is another than before. Looks on a thread of its own, which runs only
/// once somebody listens. Any thread.
class PropertyListeners {
  public:
    using Value = std::vector<std::byte>;
    /// The present value; empty when there is none. Called on several threads.
    using Read = std::function<Value(AudioObjectID, const AudioObjectPropertyAddress&)>;

    explicit PropertyListeners(Read read) : _read(std::move(read)) {}
    ~PropertyListeners();
    PropertyListeners(const PropertyListeners&) = delete;
    PropertyListeners& operator=(const PropertyListeners&) = delete;

    struct Listener {
        AudioObjectID object = 0;
        AudioObjectPropertyAddress address;
        AudioObjectPropertyListenerProc procedure = nullptr;
        void* clientData = nullptr;
        bool operator==(const Listener&) const = default;
    };

    /// One that is there already is not added again.
    void add(const Listener& listener);
    /// False when there is none. The listener is not called any more when this returns, unless it is the listener
    /// itself that calls.
    bool remove(const Listener& listener);

  private:
    struct Entry {
        Listener listener;
        Value latest;            // the watching thread's, once it is added
        bool isRemoved = false;  // guarded by _mutex
    };

    void watch();
    void look(Entry& entry);

    const Read _read;
    std::mutex _mutex;
    std::condition_variable _condition;
    std::vector<std::shared_ptr<Entry>> _entries;  // guarded by _mutex; shared with the watching thread's rounds
    const Entry* _called = nullptr;                // guarded by _mutex
    bool _isStopping = false;                      // guarded by _mutex
    std::jthread _thread;                          // guarded by _mutex
};

}  // namespace zelvane

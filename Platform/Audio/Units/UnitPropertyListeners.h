// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/AudioTypes.h"
#include "Platform/Audio/Units/CallsUnderWay.h"

#include <mutex>
#include <vector>

namespace zelvane {

class AudioUnit;

/// Told, on the thread that set it, that a property has a new value.
using AudioUnitPropertyListenerProc = void (*)(void* userData, AudioUnit* unit, AudioUnitPropertyID id,
                                               AudioUnitScope scope, AudioUnitElement element);

/// Who listens to the properties of one unit. Listeners may come and go while others are called, and may themselves
/// add, remove and set. Any thread but the audio thread.
class UnitPropertyListeners {
  public:
    struct Listener {
        AudioUnitPropertyID id = 0;
        AudioUnitPropertyListenerProc procedure = nullptr;
        void* userData = nullptr;
        bool operator==(const Listener&) const = default;
    };

    /// One that is added twice is called twice.
    void add(const Listener& listener);
    /// Removes all that are equal; false when there is none. A call that another thread has begun may still be under
    /// way: to wait for it here would have two units that copy to each other wait for ever.
    bool remove(const Listener& listener);
    /// Removes all with that user data. When it returns, no other thread is in a call.
    void removeAllOf(const void* userData);

    /// Calls those of the property in the order in which they were added, but for those removed meanwhile.
    void notify(AudioUnit& unit, AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element);

  private:
    std::vector<Listener> listenersOf(AudioUnitPropertyID id);
    bool isThere(const Listener& listener);

    std::mutex _mutex;
    std::vector<Listener> _listeners;  // guarded by _mutex
    CallsUnderWay _calls;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AUListener.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace zelvane {

/// That an object wants to hear of a parameter of one unit. The unit owns it, so that it ends with the unit.
struct AUParameterRegistration {
    AUParameterRegistration(const AUParameterListenerRef& theListener, void* theObject,
                            const AudioUnitParameter& theParameter)
        : listener(theListener), object(theObject), parameter(theParameter) {}

    const std::weak_ptr<AUListenerBase> listener;
    void* const object;
    const AudioUnitParameter parameter;
    std::atomic<bool> isRemoved{false};  // written by whoever removes it, read by whoever calls
};

/// Who is registered for the parameters of one unit. Any thread but the audio thread.
class UnitParameterListeners {
  public:
    void add(const AUParameterListenerRef& listener, void* object, const AudioUnitParameter& parameter);
    bool remove(const AUParameterListenerRef& listener, void* object, const AudioUnitParameter& parameter);
    /// Removes all of the listener. When it returns, no other thread is in one of its calls.
    void removeAllOf(const AUParameterListenerRef& listener);

    /// Hands the new value to the listeners, but for the sender's registration of the object.
    void notify(const AudioUnitParameter& parameter, float value, const AUParameterListenerRef& sender, void* object);

  private:
    using Registrations = std::vector<std::shared_ptr<AUParameterRegistration>>;

    Registrations registrationsOf(AudioUnitParameterID id);

    std::mutex _mutex;
    std::map<AudioUnitParameterID, Registrations> _registrations;  // guarded by _mutex
};

}  // namespace zelvane

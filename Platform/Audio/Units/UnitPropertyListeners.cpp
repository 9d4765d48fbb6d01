// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/UnitPropertyListeners.h"

#include <algorithm>
#include <iterator>

namespace zelvane {

void UnitPropertyListeners::add(const Listener& listener) {
    const std::lock_guard lock(_mutex);
    _listeners.push_back(listener);
}

bool UnitPropertyListeners::remove(const Listener& listener) {
    const std::lock_guard lock(_mutex);
    return std::erase(_listeners, listener) > 0;
}

void UnitPropertyListeners::removeAllOf(const void* userData) {
    {
        const std::lock_guard lock(_mutex);
        std::erase_if(_listeners, [userData](const Listener& listener) { return listener.userData == userData; });
    }
    _calls.waitForOthers();
}

void UnitPropertyListeners::notify(AudioUnit& unit, AudioUnitPropertyID id, AudioUnitScope scope,
                                   AudioUnitElement element) {
    const CallsUnderWay::Call call(_calls);
    for (const Listener& listener : listenersOf(id)) {
        if (isThere(listener)) listener.procedure(listener.userData, &unit, id, scope, element);
    }
}

std::vector<UnitPropertyListeners::Listener> UnitPropertyListeners::listenersOf(AudioUnitPropertyID id) {
    std::vector<Listener> found;
    const std::lock_guard lock(_mutex);
    std::copy_if(_listeners.begin(), _listeners.end(), std::back_inserter(found),
                 [id](const Listener& listener) { return listener.id == id; });
    return found;
}

bool UnitPropertyListeners::isThere(const Listener& listener) {
    const std::lock_guard lock(_mutex);
    return std::find(_listeners.begin(), _listeners.end(), listener) != _listeners.end();
}

}  // namespace zelvane

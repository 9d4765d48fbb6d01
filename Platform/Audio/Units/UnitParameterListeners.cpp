// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/UnitParameterListeners.h"

#include "Platform/Audio/Units/AUListenerBase.h"

#include <algorithm>

namespace zelvane {

namespace {

bool isOf(const AUParameterRegistration& registration, const AUParameterListenerRef& listener, const void* object,
          const AudioUnitParameter& parameter) {
    return registration.object == object && registration.parameter == parameter &&
           registration.listener.lock() == listener;
}

}  // namespace

void UnitParameterListeners::add(const AUParameterListenerRef& listener, void* object,
                                 const AudioUnitParameter& parameter) {
    const std::lock_guard lock(_mutex);
    Registrations& all = _registrations[parameter.mParameterID];
    const auto isSame = [&](const auto& registration) { return isOf(*registration, listener, object, parameter); };
    if (std::any_of(all.begin(), all.end(), isSame)) return;
    all.push_back(std::make_shared<AUParameterRegistration>(listener, object, parameter));
}

bool UnitParameterListeners::remove(const AUParameterListenerRef& listener, void* object,
                                    const AudioUnitParameter& parameter) {
    const std::lock_guard lock(_mutex);
    Registrations& all = _registrations[parameter.mParameterID];
    const auto isSame = [&](const auto& registration) { return isOf(*registration, listener, object, parameter); };
    const auto place = std::find_if(all.begin(), all.end(), isSame);
    if (place == all.end()) return false;
    (*place)->isRemoved = true;
    all.erase(place);
    return true;
}

void UnitParameterListeners::removeAllOf(const AUParameterListenerRef& listener) {
    if (listener == nullptr) return;
    {
        const std::lock_guard lock(_mutex);
        for (auto& entry : _registrations) {
            std::erase_if(entry.second, [&](const auto& registration) {
                const bool isOfIt = registration->listener.lock() == listener;
                if (isOfIt) registration->isRemoved = true;
                return isOfIt;
            });
        }
    }
    listener->waitForOtherCalls();
}

UnitParameterListeners::Registrations UnitParameterListeners::registrationsOf(AudioUnitParameterID id) {
    const std::lock_guard lock(_mutex);
    const auto place = _registrations.find(id);
    return place != _registrations.end() ? place->second : Registrations();
}

void UnitParameterListeners::notify(const AudioUnitParameter& parameter, float value,
                                    const AUParameterListenerRef& sender, void* object) {
    for (const auto& registration : registrationsOf(parameter.mParameterID)) {
        if (registration->parameter != parameter) continue;
        const auto listener = registration->listener.lock();
        if (listener == nullptr || (listener == sender && registration->object == object)) continue;
        listener->parameterEdited(registration, value);
    }
}

}  // namespace zelvane

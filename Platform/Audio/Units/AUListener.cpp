// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/AUListener.h"

#include "Platform/Audio/Units/AUListenerBase.h"
#include "Platform/Audio/Units/AudioUnit.h"
#include "Platform/Audio/Units/UnitParameterListeners.h"

#include <algorithm>

namespace zelvane {

void AUListenerBase::parameterEdited(const std::shared_ptr<AUParameterRegistration>& registration, float value) {
    std::unique_lock lock(_mutex);
    if (_isDisposed) return;
    const auto isOfSame = [&](const Edit& edit) {
        return !edit.registration.owner_before(registration) && !registration.owner_before(edit.registration);
    };
    const auto place = std::find_if(_edits.begin(), _edits.end(), isOfSame);
    if (place != _edits.end()) {
        place->value = value;
    } else {
        _edits.push_back({registration, value});
    }
    if (_isScheduled) return;
    _isScheduled = true;
    const Duration delay = std::max(Duration::zero(), _lastTold + _interval - RunLoop::now());
    lock.unlock();
    schedule(delay);
}

// A thread without a run loop has nothing that could wait out the interval.
void AUListenerBase::schedule(Duration delay) {
    RunLoop* runLoop = _runLoop != nullptr ? _runLoop : RunLoop::current();
    const auto tellIfThere = [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->tell();
    };
    if (runLoop == nullptr || !runLoop->performAfter(delay, tellIfThere)) tell();
}

void AUListenerBase::tell() {
    const CallsUnderWay::Call call(_calls);
    std::vector<Edit> edits;
    {
        const std::lock_guard lock(_mutex);
        edits.swap(_edits);
        _isScheduled = false;
        _lastTold = RunLoop::now();
    }
    for (const Edit& edit : edits) {
        const auto registration = edit.registration.lock();
        if (registration == nullptr || registration->isRemoved || isDisposed()) continue;
        _procedure(_userData, registration->object, registration->parameter, edit.value);
    }
}

bool AUListenerBase::isDisposed() {
    const std::lock_guard lock(_mutex);
    return _isDisposed;
}

void AUListenerBase::dispose() {
    {
        const std::lock_guard lock(_mutex);
        _isDisposed = true;
        _edits.clear();
    }
    _calls.waitForOthers();
}

OSStatus AUListenerCreate(AUParameterListenerProc procedure, void* userData, RunLoop* runLoop, Duration interval,
                          AUParameterListenerRef& listener) {
    if (procedure == nullptr || interval < Duration::zero()) return kAudio_ParamError;
    listener = std::make_shared<AUListenerBase>(procedure, userData, runLoop, interval);
    return kNoError;
}

OSStatus AUListenerDispose(AUParameterListenerRef& listener) {
    if (listener == nullptr) return kAudio_ParamError;
    listener->dispose();
    listener.reset();
    return kNoError;
}

OSStatus AUListenerAddParameter(const AUParameterListenerRef& listener, void* object,
                                const AudioUnitParameter& parameter) {
    if (listener == nullptr || parameter.mAudioUnit == nullptr) return kAudio_ParamError;
    float value = 0;
    const OSStatus status =
        parameter.mAudioUnit->parameter(parameter.mParameterID, parameter.mScope, parameter.mElement, value);
    if (status == kNoError) parameter.mAudioUnit->parameterListeners().add(listener, object, parameter);
    return status;
}

OSStatus AUListenerRemoveParameter(const AUParameterListenerRef& listener, void* object,
                                   const AudioUnitParameter& parameter) {
    if (listener == nullptr || parameter.mAudioUnit == nullptr) return kAudio_ParamError;
    const bool wasThere = parameter.mAudioUnit->parameterListeners().remove(listener, object, parameter);
    return wasThere ? kNoError : kAudioUnitErr_InvalidParameter;
}

OSStatus AUParameterSet(const AUParameterListenerRef& sender, void* object, const AudioUnitParameter& parameter,
                        float value, std::uint32_t bufferOffset) {
    const OSStatus status = AudioUnitSetParameter(parameter.mAudioUnit, parameter.mParameterID, parameter.mScope,
                                                  parameter.mElement, value, bufferOffset);
    if (status != kNoError) return status;
    // The unit may have held the value to its range.
    AudioUnitGetParameter(parameter.mAudioUnit, parameter.mParameterID, parameter.mScope, parameter.mElement, &value);
    parameter.mAudioUnit->parameterListeners().notify(parameter, value, sender, object);
    return kNoError;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/AudioTypes.h"
#include "Platform/Foundation/Clock.h"

#include <memory>

namespace zelvane {

class AudioUnit;
class AUListenerBase;
class RunLoop;

/// A parameter of a unit. The unit is only looked at by who is handed one for a unit that is there.
struct AudioUnitParameter {
    AudioUnit* mAudioUnit = nullptr;
    AudioUnitParameterID mParameterID = 0;
    AudioUnitScope mScope = kAudioUnitScope_Global;
    AudioUnitElement mElement = 0;
    bool operator==(const AudioUnitParameter&) const = default;
};

/// Told of an edited parameter, once for each object that was registered for it.
using AUParameterListenerProc = void (*)(void* userData, void* object, const AudioUnitParameter& parameter,
                                         float value);

/// A listener to parameters, whatever their units. It hears of edits (`AUParameterSet`), not of values that a program
/// sets (`AudioUnitSetParameter`), so that who copies an edit to other units hears no echo.
using AUParameterListenerRef = std::shared_ptr<AUListenerBase>;

/// Makes a listener that is called on the run loop given; with none, on that of the thread that edits, or at once on a
/// thread that has none. Of each registration it is told the newest value, at most once in an interval, and always the
/// last. All of these functions: any thread but the audio thread.
OSStatus AUListenerCreate(AUParameterListenerProc procedure, void* userData, RunLoop* runLoop, Duration interval,
                          AUParameterListenerRef& listener);

/// No more calls: when it returns, none is under way on another thread. The reference becomes null.
OSStatus AUListenerDispose(AUParameterListenerRef& listener);

/// Registers the object for the parameter; again for the same changes nothing. Ends with the unit.
OSStatus AUListenerAddParameter(const AUParameterListenerRef& listener, void* object,
                                const AudioUnitParameter& parameter);
/// Fails when the object is not registered for the parameter.
OSStatus AUListenerRemoveParameter(const AUParameterListenerRef& listener, void* object,
                                   const AudioUnitParameter& parameter);

/// What an editor sets a parameter by: the listeners are told, but for the sender's own registration of the object
/// where they are given.
OSStatus AUParameterSet(const AUParameterListenerRef& sender, void* object, const AudioUnitParameter& parameter,
                        float value, std::uint32_t bufferOffset);

}  // namespace zelvane

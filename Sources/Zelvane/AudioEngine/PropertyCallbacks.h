// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AudioUnit.h"

namespace zelvane {

class AudioEngine;

// How an edit of one unit comes to the others. On the thread that edits; no allocation is owed to anybody.

/// `object` is the micro unit that is to have the value.
void MyAUParameterListenerProc(void* userData, void* object, const AudioUnitParameter& parameter, float value);

/// `engine` is the `AudioEngine`. Copies a writable property of 4, 8 or 16 bytes to all units but the source.
void MyAUPropertyListenerProc(void* engine, AudioUnit* source, AudioUnitPropertyID id, AudioUnitScope scope,
                              AudioUnitElement element);

/// The first unit that refuses the value is the last that is asked. A preset loses the detuning, which is sent again.
void MyAuPropertyListenerPropagate(AudioEngine& engine, const AudioUnit* source, AudioUnitPropertyID id,
                                   AudioUnitScope scope, AudioUnitElement element, const void* data,
                                   std::uint32_t size);

/// Sets the property of one unit without the engine hearing of it.
OSStatus MyAUPropagateProperty(AudioEngine& engine, AudioUnit* target, AudioUnitPropertyID id, AudioUnitScope scope,
                               AudioUnitElement element, const void* data, std::uint32_t size);

}  // namespace zelvane

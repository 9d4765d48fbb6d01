// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"

namespace zelvane {

float AudioEngine::volume() {
    float volume = 0;
    AudioUnitGetParameter(_avEngine->outputNode()->audioUnit(), kHALOutputParam_Volume, kAudioUnitScope_Output, 0,
                          &volume);
    return volume;
}

void AudioEngine::setVolume(float volume) {
    AudioUnitSetParameter(_avEngine->outputNode()->audioUnit(), kHALOutputParam_Volume, kAudioUnitScope_Output, 0,
                          volume, 0);
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/PropertyReference.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"

namespace zelvane {

bool AudioEngine::openSoundfont(const std::string& path) {
    if (path.empty() || path.find('\0') != std::string::npos) return false;
    stopRunning();
    const PropertyReference url = retainProperty({path});
    bool wasTaken = false;
    for (std::int32_t number = 10; number >= 1 && !wasTaken; --number) {
        wasTaken = AudioUnitSetProperty(audioUnitFromMicroUnit(number), kMusicDeviceProperty_SoundBankURL,
                                        kAudioUnitScope_Global, 0, &url, sizeof url) == kNoError;
    }
    releaseProperty(url);
    if (wasTaken) return false;
    startRunning();
    return true;
}

void AudioEngine::restoreAppleSounds() {
    cleanAllMicroUnits(false);
    setUpAllMicroUnits(true, false);
}

}  // namespace zelvane

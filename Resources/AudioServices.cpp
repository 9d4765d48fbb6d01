// SPDX-License-Identifier: GPL-3.0-or-later
#include "Resources/AudioServices.h"

#include "Platform/Audio/Devices/Jack/JackBackEnd.h"
#include "Platform/Audio/Devices/Null/NullBackEnd.h"
#include "Platform/Audio/Devices/Pulse/PulseBackEnd.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontProvider.h"
#include "Platform/Foundation/Folders.h"

namespace zelvane {

std::vector<std::unique_ptr<AudioDeviceBackEnd>> makeAudioBackEnds() {
    std::vector<std::unique_ptr<AudioDeviceBackEnd>> backEnds;
    backEnds.push_back(std::make_unique<JackBackEnd>());
    backEnds.push_back(std::make_unique<PulseBackEnd>());
    backEnds.push_back(std::make_unique<NullBackEnd>());
    return backEnds;
}

std::vector<std::unique_ptr<AudioComponentProvider>> makeComponentProviders() {
    std::vector<std::unique_ptr<AudioComponentProvider>> providers;
    providers.push_back(std::make_unique<SoundFontProvider>(dataFolders()));
    return providers;
}

}  // namespace zelvane

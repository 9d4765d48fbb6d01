// SPDX-License-Identifier: GPL-3.0-or-later
#include "Resources/AudioServices.h"

#include "Platform/Audio/Devices/Jack/JackBackEnd.h"
#include "Platform/Audio/Devices/Null/NullBackEnd.h"
#include "Platform/Audio/Devices/Pulse/PulseBackEnd.h"
#include "Platform/Audio/Instruments/Lv2/Catalogue/Lv2Provider.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontProvider.h"
#include "Platform/Foundation/Folders.h"

#include <utility>

namespace zelvane {

namespace {

std::vector<std::unique_ptr<AudioComponentProvider>> providersWith(std::unique_ptr<Lv2Catalogue> catalogue) {
    std::vector<std::unique_ptr<AudioComponentProvider>> providers;
    providers.push_back(std::make_unique<SoundFontProvider>(dataFolders()));
    providers.push_back(std::make_unique<Lv2Provider>(std::move(catalogue)));
    return providers;
}

}  // namespace

std::vector<std::unique_ptr<AudioDeviceBackEnd>> makeAudioBackEnds(const JackPresence& presence) {
    std::vector<std::unique_ptr<AudioDeviceBackEnd>> backEnds;
    backEnds.push_back(std::make_unique<JackBackEnd>(presence));
    backEnds.push_back(std::make_unique<PulseBackEnd>());
    backEnds.push_back(std::make_unique<NullBackEnd>());
    return backEnds;
}

std::vector<std::unique_ptr<AudioComponentProvider>> makeComponentProviders() {
    auto catalogue = std::make_unique<Lv2Catalogue>(Lv2Catalogue::usualSettings());
    catalogue->refreshInBackground();
    return providersWith(std::move(catalogue));
}

std::vector<std::unique_ptr<AudioComponentProvider>> makeCompleteComponentProviders(
    const std::function<void(const std::string& name)>& onTrying) {
    auto catalogue = std::make_unique<Lv2Catalogue>(Lv2Catalogue::usualSettings());
    catalogue->refresh(onTrying);
    return providersWith(std::move(catalogue));
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/SoundFont/SoundFontProvider.h"

#include "Platform/Audio/Instruments/SoundFont/SoundFontBank.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontFile.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontInstrument.h"
#include "Platform/Foundation/LocalizedString.h"

#include <utility>

namespace zelvane {

SoundFontProvider::SoundFontProvider(std::vector<std::filesystem::path> searched) : _searched(std::move(searched)) {}

std::string SoundFontProvider::installationAdvice() const {
    return localizedString("Install a General MIDI sound bank, for instance the package timgm6mb-soundfont.");
}

std::vector<AVAudioUnitComponent> SoundFontProvider::components() {
    if (!findSoundFont(_searched)) return {};
    return {{localizedString("DLSMusicDevice"), kSoundFontDescription}};
}

// Whoever asks may have changed the flags: they say how to instantiate, not what.
std::unique_ptr<Instrument> SoundFontProvider::instantiate(const AudioComponentDescription& description, Error& error) {
    if (description.componentType != kSoundFontDescription.componentType ||
        description.componentSubType != kSoundFontDescription.componentSubType ||
        description.componentManufacturer != kSoundFontDescription.componentManufacturer) {
        error = {"SoundFont", 2, localizedString("Sorry, this is not a SoundFont instrument.")};
        return nullptr;
    }
    const auto font = findSoundFont(_searched);
    if (!font) {
        error = {"SoundFont", 3, localizedString("Sorry, no General MIDI sound bank found.")};
        return nullptr;
    }
    auto bank = SoundFontBank::load(*font, error);
    return bank ? std::make_unique<SoundFontInstrument>(std::move(bank)) : nullptr;
}

}  // namespace zelvane

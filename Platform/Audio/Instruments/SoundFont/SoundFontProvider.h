// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AudioComponent.h"
#include "Platform/Foundation/Folders.h"

#include <filesystem>
#include <vector>

namespace zelvane {

inline constexpr AudioComponentDescription kSoundFontDescription{.componentType = kAudioUnitType_MusicDevice,
                                                                 .componentSubType = 0x646C7320,       // 'dls '
                                                                 .componentManufacturer = 0x5A656C76,  // 'Zelv'
                                                                 .componentFlags = kAudioComponentFlag_SandboxSafe,
                                                                 .componentFlagsMask = 0};

/// Lists the SoundFont instrument when a General MIDI font is installed.
class SoundFontProvider : public AudioComponentProvider {
  public:
    explicit SoundFontProvider(std::vector<std::filesystem::path> searched = dataFolders());

    std::string installationAdvice() const override;
    std::vector<AVAudioUnitComponent> components() override;
    std::unique_ptr<Instrument> instantiate(const AudioComponentDescription& description, Error& error) override;

  private:
    const std::vector<std::filesystem::path> _searched;
};

}  // namespace zelvane

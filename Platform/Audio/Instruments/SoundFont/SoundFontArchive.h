// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/SoundFont/SoundFontState.h"
#include "Platform/Foundation/PropertyList.h"

#include <filesystem>
#include <optional>
#include <string>

namespace zelvane {

/// An instrument's settings as they are saved.
struct SoundFontArchive {
    std::filesystem::path bank;
    std::string presetName;
    SoundFontSettings channels;
    SoundFontParameterValues parameters{};
    std::uint32_t renderQuality = 0;
    int polyphony = SoundFontSynth::kPolyphony;
};

PropertyList::Dictionary archived(const SoundFontArchive& archive);

/// The settings in a property list, or nothing when it holds anything but settings of this instrument. What it
/// does not name of parameters and polyphony stands at their defaults, so that settings of earlier versions can be
/// read.
std::optional<SoundFontArchive> unarchived(const PropertyList& list);

}  // namespace zelvane

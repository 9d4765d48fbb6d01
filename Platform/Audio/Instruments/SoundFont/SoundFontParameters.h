// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/UnitParameter.h"

#include <array>
#include <cstddef>
#include <vector>

namespace zelvane {

class SoundFontSynth;

/// The parameters of the SoundFont instrument; place in the list and ID are the same and never change.
enum class SoundFontParameter : std::size_t {
    gain,
    reverbOn,
    reverbLevel,
    reverbRoom,
    reverbDamp,
    reverbWidth,
    chorusOn,
    chorusVoices,
    chorusLevel,
    chorusSpeed,
    chorusDepth,
    count
};

inline constexpr std::size_t kSoundFontParameterCount = static_cast<std::size_t>(SoundFontParameter::count);

using SoundFontParameterValues = std::array<float, kSoundFontParameterCount>;

/// The list. Any thread.
const std::vector<UnitParameter>& soundFontParameters();

/// The value held to the parameter's range; what is no number becomes the default.
float acceptableValue(const UnitParameter& parameter, float value);

/// Sets the parameters whose bit is set. Audio thread, real-time safe.
void applyParameters(std::uint32_t changed, const SoundFontParameterValues& values, SoundFontSynth& synth) noexcept;

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AUPreset.h"
#include "Platform/Audio/Units/UnitProperty.h"

#include <vector>

namespace zelvane {

class SoundFontInstrument;

/// The preset of a channel, counted from 0, has this ID plus the channel: 32 bits, bank times 128 plus program.
inline constexpr AudioUnitPropertyID kSoundFontProperty_FirstChannelPreset = 65536;
/// How many voices may sound at a time: 32 bits.
inline constexpr AudioUnitPropertyID kSoundFontProperty_Polyphony = 65552;

/// The properties of a SoundFont instrument, whose functions refer to it.
std::vector<UnitProperty> soundFontProperties(SoundFontInstrument& instrument);

}  // namespace zelvane

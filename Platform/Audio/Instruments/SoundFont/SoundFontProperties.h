// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AUPreset.h"
#include "Platform/Audio/Units/UnitProperty.h"

#include <vector>

namespace zelvane {

class SoundFontInstrument;

/// The properties of a SoundFont instrument, whose functions refer to it.
std::vector<UnitProperty> soundFontProperties(SoundFontInstrument& instrument);

}  // namespace zelvane

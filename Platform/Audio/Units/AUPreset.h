// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/PropertyReference.h"

#include <cstdint>

namespace zelvane {

/// The value of "present preset". The name belongs to the unit: it stays good until the property is read again, and
/// does not count when a preset is set.
struct AUPreset {
    std::int32_t presetNumber = 0;
    std::int32_t padding = 0;
    PropertyReference presetName = 0;
};
static_assert(sizeof(AUPreset) == 16);

}  // namespace zelvane

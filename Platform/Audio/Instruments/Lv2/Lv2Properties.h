// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/UnitProperty.h"

#include <vector>

namespace zelvane {

class Lv2Instrument;

/// A property that the plug-in itself declares has this ID, plus its rank in the order of their URIs.
inline constexpr AudioUnitPropertyID kFirstLv2Property = 65536;

/// The properties of an LV2 instrument, whose functions refer to it.
std::vector<UnitProperty> lv2Properties(Lv2Instrument& instrument);

}  // namespace zelvane

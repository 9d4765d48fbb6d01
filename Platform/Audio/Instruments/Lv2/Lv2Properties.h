// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Lv2PatchProperties.h"
#include "Platform/Audio/Units/UnitProperty.h"

#include <functional>
#include <span>
#include <vector>

namespace zelvane {

class Lv2Instrument;

/// A property that the plug-in itself declares has this ID, plus its rank in the order of their URIs.
inline constexpr AudioUnitPropertyID kFirstLv2Property = 65536;

/// Calls with the value as it stands in a property of that kind; not at all for kinds that are no properties.
void withPropertyBytes(Lv2WritableProperty::Type type, const Lv2PatchProperties::Value& value,
                       const std::function<void(std::span<const std::byte>)>& use);

/// The properties of an LV2 instrument, whose functions refer to it.
std::vector<UnitProperty> lv2Properties(Lv2Instrument& instrument);

}  // namespace zelvane

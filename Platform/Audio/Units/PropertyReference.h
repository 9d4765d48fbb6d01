// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/PropertyList.h"

#include <cstdint>
#include <memory>

namespace zelvane {

/// The 8 bytes that stand for an object (a URL, a dictionary, a list of presets) in a property's value. Zero is no
/// object.
using PropertyReference = std::uint64_t;

/// Makes a reference to an object, which lives until as many `releaseProperty` as `retainProperty` calls were made. The
/// reader of a property owns one count of what it read and releases it; the writer keeps its own. Any thread but the
/// audio thread.
PropertyReference retainProperty(PropertyList object);

/// Adds a count. False when there is no such object.
bool retainProperty(PropertyReference reference);

/// The object, or null for a number that stands for none.
std::shared_ptr<const PropertyList> propertyObject(PropertyReference reference);

void releaseProperty(PropertyReference reference);

}  // namespace zelvane

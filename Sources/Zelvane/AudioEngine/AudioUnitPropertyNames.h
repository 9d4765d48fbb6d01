// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/AudioTypes.h"

#include <string>

namespace zelvane {

/// What the log calls a property; those that have no name by their number.
std::string audioUnitPropertyNameFromID(AudioUnitPropertyID id);

}  // namespace zelvane

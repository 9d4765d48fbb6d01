// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioDevice.h"
#include "Platform/Audio/Units/AudioComponent.h"

#include <memory>
#include <vector>

namespace zelvane {

/// The sound servers in the order of preference, the one that is always there last.
std::vector<std::unique_ptr<AudioDeviceBackEnd>> makeAudioBackEnds();

/// The formats of instruments.
std::vector<std::unique_ptr<AudioComponentProvider>> makeComponentProviders();

}  // namespace zelvane

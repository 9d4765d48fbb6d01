// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioDevice.h"
#include "Platform/Audio/Units/AudioComponent.h"
#include "Platform/Jack/JackPresence.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zelvane {

/// The sound servers in the order of preference, the one that is always there last.
std::vector<std::unique_ptr<AudioDeviceBackEnd>> makeAudioBackEnds(const JackPresence& presence = {});

/// The formats of instruments, with those that are known. What was installed since is looked at in the background.
std::vector<std::unique_ptr<AudioComponentProvider>> makeComponentProviders();

/// The formats, with all instruments: what was installed since they were last listed is looked at first, one after the
/// other, and told by name.
std::vector<std::unique_ptr<AudioComponentProvider>> makeCompleteComponentProviders(
    const std::function<void(const std::string& name)>& onTrying);

}  // namespace zelvane

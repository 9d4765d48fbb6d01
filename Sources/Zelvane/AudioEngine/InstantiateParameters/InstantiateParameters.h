// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AVAudioUnit.h"
#include "Sources/Zelvane/AudioEngine/audioEngineViewController/audioEngineViewController.h"

#include <cstdint>
#include <memory>

namespace zelvane {

/// A request for one instance on its way through the loader and the player thread. One thread has it at a time.
struct InstantiateParameters {
    bool hasCustomView = false;
    bool restore = false;  ///< connect it to the mixer and start the engine as soon as it is installed
    bool log = false;      ///< tell when it is set up
    bool didInstantiate = false;
    std::int32_t microUnitNumber = 0;  ///< 1 to 10
    std::uint64_t setUpNumber = 0;     ///< tells a request of the present set-up from one that came too late
    std::shared_ptr<audioEngineViewController> auViewController;
    std::shared_ptr<AVAudioUnit> synthNode;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioHardware.h"
#include "Platform/Audio/Devices/OutputDeviceController.h"
#include "Platform/Audio/Graph/RenderGraph.h"
#include "Platform/Audio/Units/AVAudioUnitComponentManager.h"

#include <memory>
#include <vector>

namespace zelvane {

/// All of the audio platform, wired: the devices, the render graph that plays on them, and the instruments. Once it is
/// made a device plays, so its format is known.
struct AudioPlatform {
    AudioPlatform(std::vector<std::unique_ptr<AudioDeviceBackEnd>> backEnds,
                  std::vector<std::unique_ptr<AudioComponentProvider>> providers)
        : components(std::move(providers)), controller(std::move(backEnds), graph, [] {}), hardware(controller) {
        controller.select({});
    }

    RenderGraph graph;
    AVAudioUnitComponentManager components;
    OutputDeviceController controller;
    AudioHardware hardware;
};

}  // namespace zelvane

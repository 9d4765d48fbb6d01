// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioHardware.h"
#include "Platform/Audio/Graph/RenderGraph.h"
#include "Platform/Audio/Units/AudioUnit.h"

#include <atomic>

namespace zelvane {

inline constexpr AudioUnitPropertyID kAudioOutputUnitProperty_CurrentDevice = 2000;
inline constexpr AudioUnitParameterID kHALOutputParam_Volume = 14;
/// A volume outside 0 to this factor, or one that is no number, is refused.
inline constexpr float kLargestVolume = 16;

/// The unit of the output node: the device that plays, its period and format as properties, the volume as a parameter
/// of the output scope.
class OutputUnit : public AudioUnit {
  public:
    OutputUnit(RenderGraph& graph, OutputDeviceController& controller, AudioHardware& hardware);

    OSStatus parameter(AudioUnitParameterID id, AudioUnitScope scope, AudioUnitElement element, float& value) override;
    OSStatus setParameter(AudioUnitParameterID id, AudioUnitScope scope, AudioUnitElement element,
                          float value) override;
    OSStatus midiEvent(std::uint32_t status, std::uint32_t data1, std::uint32_t data2,
                       std::uint32_t sampleOffset) override;

  private:
    OSStatus selectDevice(AudioObjectID device);
    UnitProperty currentDevice();
    UnitProperty bufferFrameSize();
    UnitProperty streamFormat();

    RenderGraph& _graph;
    OutputDeviceController& _controller;
    AudioHardware& _hardware;
    std::atomic<AudioObjectID> _device{0};  // control threads
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Graph/OutputUnit.h"

namespace zelvane {

OutputUnit::OutputUnit(RenderGraph& graph, OutputDeviceController& controller, AudioHardware& hardware)
    : _graph(graph), _controller(controller), _hardware(hardware) {
    addProperties({currentDevice(), bufferFrameSize(), streamFormat()});
}

UnitProperty OutputUnit::currentDevice() {
    return {.id = kAudioOutputUnitProperty_CurrentDevice,
            .isWritable = true,
            .size = [] { return static_cast<std::uint32_t>(sizeof(AudioObjectID)); },
            .get =
                [this](AudioUnitElement, std::span<std::byte> out) {
                    writePropertyValue(out, _device.load());
                    return kNoError;
                },
            .set =
                [this](std::span<const std::byte> value) {
                    AudioObjectID device = 0;
                    return readPropertyValue(value, device) ? selectDevice(device) : kAudioUnitErr_InvalidPropertyValue;
                }};
}

// A number that stands for no device means: no choice, the default is followed.
OSStatus OutputUnit::selectDevice(AudioObjectID device) {
    _device = device;
    _controller.select(_hardware.choice(device).value_or(OutputDeviceController::Choice{}));
    return kNoError;
}

UnitProperty OutputUnit::bufferFrameSize() {
    return {.id = kAudioDevicePropertyBufferFrameSize,
            .isWritable = true,
            .size = [] { return static_cast<std::uint32_t>(sizeof(std::uint32_t)); },
            .get =
                [this](AudioUnitElement, std::span<std::byte> out) {
                    writePropertyValue(out, _graph.format().periodFrames);
                    return kNoError;
                },
            .set =
                [this](std::span<const std::byte> value) {
                    std::uint32_t frames = 0;
                    if (!readPropertyValue(value, frames) || frames == 0) return kAudioUnitErr_InvalidPropertyValue;
                    _controller.setPeriodFrames(frames);
                    return kNoError;
                }};
}

UnitProperty OutputUnit::streamFormat() {
    return {.id = kAudioUnitProperty_StreamFormat,
            .isWritable = false,
            .size = [] { return static_cast<std::uint32_t>(sizeof(AudioStreamBasicDescription)); },
            .get =
                [this](AudioUnitElement, std::span<std::byte> out) {
                    writePropertyValue(out, floatStreamDescription(_graph.format().sampleRate, 2));
                    return kNoError;
                },
            .set = {},
            .scopes = 1U << kAudioUnitScope_Global | 1U << kAudioUnitScope_Input | 1U << kAudioUnitScope_Output};
}

OSStatus OutputUnit::parameter(AudioUnitParameterID id, AudioUnitScope scope, AudioUnitElement element, float& value) {
    if (id != kHALOutputParam_Volume) return kAudioUnitErr_InvalidParameter;
    if (scope != kAudioUnitScope_Output) return kAudioUnitErr_InvalidScope;
    if (element != 0) return kAudioUnitErr_InvalidElement;
    value = _graph.volume();
    return kNoError;
}

OSStatus OutputUnit::setParameter(AudioUnitParameterID id, AudioUnitScope scope, AudioUnitElement element,
                                  float value) {
    float current = 0;
    if (const OSStatus status = parameter(id, scope, element, current); status != kNoError) return status;
    if (!(value >= 0 && value <= kLargestVolume)) return kAudioUnitErr_InvalidPropertyValue;
    _graph.setVolume(value);
    return kNoError;
}

OSStatus OutputUnit::midiEvent(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) {
    return kAudioUnitErr_InvalidProperty;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/AudioUnitParameterInfo.h"
#include "Platform/Audio/Units/InstrumentUnit.h"
#include "Platform/Foundation/Utf8.h"

#include <algorithm>
#include <cstring>

namespace zelvane {

namespace {

constexpr std::uint32_t kMaximumFramesPerSlice = 1024;

template <typename Read>
UnitProperty readOnly(AudioUnitPropertyID id, Read read) {
    using Value = decltype(read());
    return {.id = id,
            .isWritable = false,
            .size = [] { return static_cast<std::uint32_t>(sizeof(Value)); },
            .get =
                [read](AudioUnitElement, std::span<std::byte> out) {
                    writePropertyValue(out, read());
                    return kNoError;
                },
            .set = {}};
}

std::uint32_t parameterFlags(const UnitParameter& parameter) {
    return kAudioUnitParameterFlag_IsReadable | (parameter.isWritable ? kAudioUnitParameterFlag_IsWritable : 0U) |
           (parameter.isInteger ? kAudioUnitParameterFlag_IsInteger : 0U) |
           (parameter.isToggled ? kAudioUnitParameterFlag_IsToggled : 0U) |
           (parameter.isLogarithmic ? kAudioUnitParameterFlag_IsLogarithmic : 0U);
}

UnitProperty parameterList(std::span<const UnitParameter> parameters) {
    return {
        .id = kAudioUnitProperty_ParameterList,
        .isWritable = false,
        .size = [parameters] { return static_cast<std::uint32_t>(parameters.size() * sizeof(AudioUnitParameterID)); },
        .get =
            [parameters](AudioUnitElement, std::span<std::byte> out) {
                for (std::size_t i = 0; i < parameters.size(); ++i)
                    writePropertyValue(out.subspan(i * sizeof(AudioUnitParameterID)), parameters[i].id);
                return kNoError;
            },
        .set = {}};
}

}  // namespace

std::vector<UnitProperty> InstrumentUnit::commonProperties() {
    std::vector<UnitProperty> properties{
        readOnly(kAudioUnitProperty_SampleRate, [this] { return _sampleRate.load(); }),
        readOnly(kAudioUnitProperty_Latency, [this] { return _instrument->latencySeconds(); }),
        readOnly(kAudioUnitProperty_MaximumFramesPerSlice, [] { return kMaximumFramesPerSlice; }),
        readOnly(kAudioUnitProperty_TailTime, [this] { return _instrument->tailSeconds(); }),
        readOnly(kAudioUnitProperty_StreamFormat, [this] { return floatStreamDescription(_sampleRate.load(), 2); }),
        parameterList(_instrument->parameters())};
    properties[0].scopes |= 1U << kAudioUnitScope_Output;
    properties[4].scopes |= 1U << kAudioUnitScope_Output;
    properties.push_back(
        {.id = kAudioUnitProperty_ParameterInfo,
         .isWritable = false,
         .size = [] { return static_cast<std::uint32_t>(sizeof(AudioUnitParameterInfo)); },
         .get = [this](AudioUnitElement element, std::span<std::byte> out) { return parameterInfo(element, out); },
         .set = {},
         .scopes = 1U << kAudioUnitScope_Global,
         .takesElement = true});
    return properties;
}

OSStatus InstrumentUnit::parameterInfo(AudioUnitElement element, std::span<std::byte> out) const {
    std::size_t index = 0;
    const UnitParameter* parameter = parameterWithID(element, index);
    if (parameter == nullptr) return kAudioUnitErr_InvalidParameter;
    AudioUnitParameterInfo info{.minimum = parameter->minimum,
                                .maximum = parameter->maximum,
                                .defaultValue = parameter->defaultValue,
                                .flags = parameterFlags(*parameter)};
    const std::string name = cutToBytes(parameter->name, sizeof info.name - 1);
    std::memcpy(info.name, name.data(), name.size());
    writePropertyValue(out, info);
    return kNoError;
}

}  // namespace zelvane

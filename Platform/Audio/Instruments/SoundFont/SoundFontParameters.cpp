// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/SoundFont/SoundFontParameters.h"

#include "Platform/Audio/Instruments/SoundFont/SoundFontSynth.h"
#include "Platform/Foundation/LocalizedString.h"

#include <algorithm>
#include <cmath>

namespace zelvane {

namespace {

using enum SoundFontParameter;

constexpr std::uint32_t bit(SoundFontParameter parameter) {
    return 1U << static_cast<unsigned>(parameter);
}

constexpr std::uint32_t kReverbBits =
    bit(reverbOn) | bit(reverbLevel) | bit(reverbRoom) | bit(reverbDamp) | bit(reverbWidth);
constexpr std::uint32_t kChorusBits =
    bit(chorusOn) | bit(chorusVoices) | bit(chorusLevel) | bit(chorusSpeed) | bit(chorusDepth);

UnitParameter described(SoundFontParameter parameter, const char* symbol, const char* name, const char* unit,
                        float minimum, float maximum, float defaultValue) {
    UnitParameter description;
    description.id = static_cast<AudioUnitParameterID>(parameter);
    description.symbol = symbol;
    description.name = localizedString(name);
    description.unit = unit;
    description.minimum = minimum;
    description.maximum = maximum;
    description.defaultValue = defaultValue;
    return description;
}

UnitParameter toggle(SoundFontParameter parameter, const char* symbol, const char* name) {
    UnitParameter description = described(parameter, symbol, name, "", 0, 1, 0);
    description.isToggled = true;
    description.isInteger = true;
    return description;
}

// Both effects are off at first: ten reverbs cost more than the ten units they serve, and blur the pitches. The other
// defaults are FluidSynth's own, the gain among them, with which chords on ten units stay below full scale.
std::vector<UnitParameter> makeParameters() {
    std::vector<UnitParameter> parameters{
        described(gain, "gain", "Volume", "", 0, 2, 0.2F),
        toggle(reverbOn, "reverb-on", "Reverb"),
        described(reverbLevel, "reverb-level", "Reverb Level", "", 0, 1, 0.9F),
        described(reverbRoom, "reverb-room-size", "Reverb Room Size", "", 0, 1, 0.2F),
        described(reverbDamp, "reverb-damp", "Reverb Damping", "", 0, 1, 0),
        described(reverbWidth, "reverb-width", "Reverb Width", "", 0, 100, 0.5F),
        toggle(chorusOn, "chorus-on", "Chorus"),
        described(chorusVoices, "chorus-voices", "Chorus Voices", "", 0, 99, 3),
        described(chorusLevel, "chorus-level", "Chorus Level", "", 0, 10, 2),
        described(chorusSpeed, "chorus-speed", "Chorus Speed", "Hz", 0.1F, 5, 0.3F),
        described(chorusDepth, "chorus-depth", "Chorus Depth", "ms", 0, 256, 8),
    };
    parameters[static_cast<std::size_t>(chorusVoices)].isInteger = true;
    for (UnitParameter& parameter : parameters) {
        if (kReverbBits & (1U << parameter.id)) parameter.group = localizedString("Reverb");
        if (kChorusBits & (1U << parameter.id)) parameter.group = localizedString("Chorus");
    }
    return parameters;
}

}  // namespace

const std::vector<UnitParameter>& soundFontParameters() {
    static const std::vector<UnitParameter> parameters = makeParameters();
    return parameters;
}

float acceptableValue(const UnitParameter& parameter, float value) {
    if (std::isnan(value)) return parameter.defaultValue;
    return std::clamp(parameter.isInteger ? std::round(value) : value, parameter.minimum, parameter.maximum);
}

void applyParameters(std::uint32_t changed, const SoundFontParameterValues& values, SoundFontSynth& synth) noexcept {
    const auto value = [&](SoundFontParameter parameter) { return values[static_cast<std::size_t>(parameter)]; };
    if (changed & bit(gain)) synth.setGain(value(gain));
    if (changed & kReverbBits) {
        synth.setReverb({.isOn = value(reverbOn) > 0.5F,
                         .level = value(reverbLevel),
                         .room = value(reverbRoom),
                         .damp = value(reverbDamp),
                         .width = value(reverbWidth)});
    }
    if (changed & kChorusBits) {
        synth.setChorus({.isOn = value(chorusOn) > 0.5F,
                         .voices = static_cast<int>(value(chorusVoices)),
                         .level = value(chorusLevel),
                         .speed = value(chorusSpeed),
                         .depth = value(chorusDepth)});
    }
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/SoundFont/SoundFontProperties.h"

#include "Platform/Audio/Instruments/SoundFont/FileURL.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontInstrument.h"
#include "Platform/Audio/Units/MakeProperty.h"

#include <utility>

namespace zelvane {

namespace {

UnitProperty classInfo(AudioUnitPropertyID id, SoundFontInstrument& instrument) {
    return objectProperty(
        id, [&instrument] { return PropertyList{archived(instrument.archive())}; },
        [&instrument](const PropertyList& list) {
            const auto archive = unarchived(list);
            return archive ? instrument.restore(*archive) : kAudioUnitErr_InvalidPropertyValue;
        });
}

UnitProperty soundBank(SoundFontInstrument& instrument) {
    return objectProperty(
        kMusicDeviceProperty_SoundBankURL, [&instrument] { return PropertyList{fileURL(instrument.bank()->path())}; },
        [&instrument](const PropertyList& list) {
            const auto* url = std::get_if<std::string>(&list.value);
            return url == nullptr ? kAudioUnitErr_InvalidPropertyValue : instrument.loadBank(pathFromFileURL(*url));
        });
}

PropertyList presetList(const SoundFontBank& bank) {
    PropertyList::Array presets;
    for (const SoundFontBank::Preset& preset : bank.presets()) {
        presets.emplace_back().value =
            PropertyList::Dictionary{{"number", {std::int64_t{preset.number()}}}, {"name", {preset.name}}};
    }
    return {std::move(presets)};
}

UnitProperty factoryPresets(SoundFontInstrument& instrument) {
    UnitProperty property = objectProperty(
        kAudioUnitProperty_FactoryPresets, [&instrument] { return presetList(*instrument.bank()); },
        [](const PropertyList&) { return kAudioUnitErr_PropertyNotWritable; });
    property.isWritable = false;
    return property;
}

UnitProperty presentPreset(SoundFontInstrument& instrument) {
    return valueProperty<AUPreset>(
        kAudioUnitProperty_PresentPreset,
        [&instrument] {
            const std::int32_t number = instrument.presentPreset();
            return AUPreset{number, 0, instrument.presetNameReference(number)};
        },
        [&instrument](const AUPreset& preset) { return instrument.selectPreset(preset.presetNumber); });
}

UnitProperty renderQuality(SoundFontInstrument& instrument) {
    return valueProperty<std::uint32_t>(
        kAudioUnitProperty_RenderQuality, [&instrument] { return instrument.state().renderQuality(); },
        [&instrument](std::uint32_t quality) {
            if (quality > 127) return kAudioUnitErr_InvalidPropertyValue;
            instrument.state().setRenderQuality(quality);
            return kNoError;
        });
}

UnitProperty channelPreset(SoundFontInstrument& instrument, int channel) {
    return valueProperty<std::int32_t>(
        kSoundFontProperty_FirstChannelPreset + static_cast<AudioUnitPropertyID>(channel),
        [&instrument, channel] { return instrument.channelPreset(channel); },
        [&instrument, channel](std::int32_t number) { return instrument.selectChannelPreset(channel, number); });
}

UnitProperty polyphony(SoundFontInstrument& instrument) {
    return valueProperty<std::int32_t>(
        kSoundFontProperty_Polyphony, [&instrument] { return std::int32_t{instrument.polyphony()}; },
        [&instrument](std::int32_t voices) { return instrument.setPolyphony(voices); });
}

UnitProperty internalReverb(SoundFontInstrument& instrument) {
    return valueProperty<std::uint32_t>(
        kMusicDeviceProperty_UsesInternalReverb,
        [&instrument] { return instrument.state().parameter(SoundFontParameter::reverbOn) > 0.5F ? 1U : 0U; },
        [&instrument](std::uint32_t isOn) {
            instrument.state().setParameter(SoundFontParameter::reverbOn, isOn != 0 ? 1 : 0);
            return kNoError;
        });
}

}  // namespace

std::vector<UnitProperty> soundFontProperties(SoundFontInstrument& instrument) {
    std::vector<UnitProperty> properties{classInfo(kAudioUnitProperty_ClassInfo, instrument),
                                         classInfo(kAudioUnitProperty_ClassInfoFromDocument, instrument),
                                         factoryPresets(instrument),
                                         renderQuality(instrument),
                                         presentPreset(instrument),
                                         internalReverb(instrument),
                                         soundBank(instrument),
                                         polyphony(instrument)};
    for (int channel = 0; channel < SoundFontSynth::kChannels; ++channel)
        properties.push_back(channelPreset(instrument, channel));
    return properties;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2Properties.h"

#include "Platform/Audio/Instruments/Lv2/Lv2Instrument.h"
#include "Platform/Audio/Units/AUPreset.h"
#include "Platform/Audio/Units/MakeProperty.h"

#include <utility>

namespace zelvane {

namespace {

using Type = Lv2WritableProperty::Type;

UnitProperty classInfo(AudioUnitPropertyID id, Lv2Instrument& instrument) {
    return objectProperty(
        id, [&instrument] { return instrument.classInfo(); },
        [&instrument](const PropertyList& list) { return instrument.restore(list); });
}

PropertyList presetList(const Lv2Instrument& instrument) {
    PropertyList::Array presets;
    for (const std::string& name : instrument.presetNames()) {
        const auto number = static_cast<std::int64_t>(presets.size());
        presets.emplace_back().value = PropertyList::Dictionary{{"number", {number}}, {"name", {name}}};
    }
    return {std::move(presets)};
}

UnitProperty factoryPresets(Lv2Instrument& instrument) {
    UnitProperty property = objectProperty(
        kAudioUnitProperty_FactoryPresets, [&instrument] { return presetList(instrument); },
        [](const PropertyList&) { return kAudioUnitErr_PropertyNotWritable; });
    property.isWritable = false;
    return property;
}

UnitProperty presentPreset(Lv2Instrument& instrument) {
    return valueProperty<AUPreset>(
        kAudioUnitProperty_PresentPreset,
        [&instrument] {
            return AUPreset{instrument.presentPreset(), 0, instrument.presentPresetName()};
        },
        [&instrument](const AUPreset& preset) { return instrument.selectPreset(preset.presetNumber); });
}

/// A property of the plug-in's own whose value is a number, as it stands in `Stored` among the values.
template <typename Bytes, typename Stored>
UnitProperty numberProperty(AudioUnitPropertyID id, Lv2PatchProperties& patches, std::size_t rank) {
    return valueProperty<Bytes>(
        id, [&patches, rank] { return static_cast<Bytes>(std::get<Stored>(patches.value(rank))); },
        [&patches, rank](Bytes value) { return patches.setValue(rank, static_cast<Stored>(value)); });
}

UnitProperty textProperty(AudioUnitPropertyID id, Lv2PatchProperties& patches, std::size_t rank) {
    return objectProperty(
        id, [&patches, rank] { return PropertyList{std::get<std::string>(patches.value(rank))}; },
        [&patches, rank](const PropertyList& list) {
            const auto* text = std::get_if<std::string>(&list.value);
            return text == nullptr ? kAudioUnitErr_InvalidPropertyValue : patches.setValue(rank, *text);
        });
}

void addOwnProperties(std::vector<UnitProperty>& properties, Lv2PatchProperties& patches) {
    for (std::size_t rank = 0; rank < patches.all().size(); ++rank) {
        const AudioUnitPropertyID id = kFirstLv2Property + static_cast<AudioUnitPropertyID>(rank);
        switch (patches.all()[rank].type) {
            case Type::integer:
            case Type::boolean:
                properties.push_back(numberProperty<std::int32_t, std::int64_t>(id, patches, rank));
                break;
            case Type::longInteger:
                properties.push_back(numberProperty<std::int64_t, std::int64_t>(id, patches, rank));
                break;
            case Type::real:
                properties.push_back(numberProperty<float, double>(id, patches, rank));
                break;
            case Type::doubleReal:
                properties.push_back(numberProperty<double, double>(id, patches, rank));
                break;
            case Type::path:
            case Type::text:
            case Type::uri:
                properties.push_back(textProperty(id, patches, rank));
                break;
            case Type::other:
                break;
        }
    }
}

template <typename Number>
void withBytesOf(Number number, const std::function<void(std::span<const std::byte>)>& use) {
    use(std::as_bytes(std::span(&number, 1)));
}

}  // namespace

void withPropertyBytes(Type type, const Lv2PatchProperties::Value& value,
                       const std::function<void(std::span<const std::byte>)>& use) {
    switch (type) {
        case Type::integer:
        case Type::boolean:
            return withBytesOf(static_cast<std::int32_t>(std::get<std::int64_t>(value)), use);
        case Type::longInteger:
            return withBytesOf(std::get<std::int64_t>(value), use);
        case Type::real:
            return withBytesOf(static_cast<float>(std::get<double>(value)), use);
        case Type::doubleReal:
            return withBytesOf(std::get<double>(value), use);
        case Type::path:
        case Type::text:
        case Type::uri: {
            const PropertyReference reference = retainProperty({std::get<std::string>(value)});
            withBytesOf(reference, use);
            return releaseProperty(reference);
        }
        case Type::other:
            return;
    }
}

std::vector<UnitProperty> lv2Properties(Lv2Instrument& instrument) {
    std::vector<UnitProperty> properties{classInfo(kAudioUnitProperty_ClassInfo, instrument),
                                         classInfo(kAudioUnitProperty_ClassInfoFromDocument, instrument),
                                         factoryPresets(instrument), presentPreset(instrument)};
    addOwnProperties(properties, instrument.patches());
    return properties;
}

}  // namespace zelvane

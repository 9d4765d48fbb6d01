// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/SoundFont/SoundFontArchive.h"

#include "Platform/Audio/Instruments/SoundFont/SoundFontProvider.h"

#include <cstring>

namespace zelvane {

namespace {

using Dictionary = PropertyList::Dictionary;

constexpr const char* kType = "type";
constexpr const char* kSubtype = "subtype";
constexpr const char* kManufacturer = "manufacturer";
constexpr const char* kVersion = "version";
constexpr std::int64_t kCurrentVersion = 1;

PropertyList number(std::int64_t value) {
    return {value};
}

Dictionary archivedChannel(const SoundFontChannelSettings& channel) {
    PropertyList::Data controllers(channel.controllers.size());
    std::memcpy(controllers.data(), channel.controllers.data(), controllers.size());
    return {{"bank", number(channel.bank)},
            {"program", number(channel.program)},
            {"bendRange", number(channel.bendRange)},
            {"fineTune", number(channel.fineTune)},
            {"coarseTune", number(channel.coarseTune)},
            {"mono", {channel.isMono}},
            {"controllers", {std::move(controllers)}}};
}

template <typename Value>
const Value* entry(const Dictionary& dictionary, const std::string& key) {
    const auto place = dictionary.find(key);
    return place == dictionary.end() ? nullptr : std::get_if<Value>(&place->second.value);
}

bool readNumber(const Dictionary& dictionary, const char* key, std::int64_t least, std::int64_t most, int& value) {
    const auto* found = entry<std::int64_t>(dictionary, key);
    if (found == nullptr || *found < least || *found > most) return false;
    value = static_cast<int>(*found);
    return true;
}

bool readControllers(const Dictionary& dictionary, std::array<std::uint8_t, 128>& controllers) {
    const auto* bytes = entry<PropertyList::Data>(dictionary, "controllers");
    if (bytes == nullptr || bytes->size() != controllers.size()) return false;
    for (std::size_t i = 0; i < controllers.size(); ++i) {
        controllers[i] = std::to_integer<std::uint8_t>((*bytes)[i]);
        if (controllers[i] > 127) return false;
    }
    return true;
}

bool readChannel(const PropertyList& list, SoundFontChannelSettings& channel) {
    const auto* dictionary = std::get_if<Dictionary>(&list.value);
    if (dictionary == nullptr) return false;
    const bool* isMono = entry<bool>(*dictionary, "mono");
    if (isMono == nullptr) return false;
    channel.isMono = *isMono;
    return readNumber(*dictionary, "bank", 0, 16383, channel.bank) &&
           readNumber(*dictionary, "program", 0, 127, channel.program) &&
           readNumber(*dictionary, "bendRange", 0, 127, channel.bendRange) &&
           readNumber(*dictionary, "fineTune", -200, 200, channel.fineTune) &&
           readNumber(*dictionary, "coarseTune", -128, 128, channel.coarseTune) &&
           readControllers(*dictionary, channel.controllers);
}

bool readParameters(const Dictionary& dictionary, SoundFontParameterValues& values) {
    const auto* parameters = entry<Dictionary>(dictionary, "parameters");
    if (parameters == nullptr) return false;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const UnitParameter& parameter = soundFontParameters()[i];
        values[i] = parameter.defaultValue;
        // Whole numbers may have become integers on their way through a file.
        if (const auto* real = entry<double>(*parameters, parameter.symbol)) values[i] = static_cast<float>(*real);
        if (const auto* whole = entry<std::int64_t>(*parameters, parameter.symbol))
            values[i] = static_cast<float>(*whole);
    }
    return true;
}

bool isOurs(const Dictionary& dictionary) {
    const auto is = [&](const char* key, std::int64_t expected) {
        const auto* value = entry<std::int64_t>(dictionary, key);
        return value != nullptr && *value == expected;
    };
    return is(kType, kSoundFontDescription.componentType) && is(kSubtype, kSoundFontDescription.componentSubType) &&
           is(kManufacturer, kSoundFontDescription.componentManufacturer) && is(kVersion, kCurrentVersion);
}

}  // namespace

PropertyList::Dictionary archived(const SoundFontArchive& archive) {
    PropertyList::Array channels;
    for (const SoundFontChannelSettings& channel : archive.channels)
        channels.emplace_back().value = archivedChannel(channel);
    Dictionary parameters;
    for (std::size_t i = 0; i < archive.parameters.size(); ++i)
        parameters[soundFontParameters()[i].symbol] = {static_cast<double>(archive.parameters[i])};
    return {{kType, number(kSoundFontDescription.componentType)},
            {kSubtype, number(kSoundFontDescription.componentSubType)},
            {kManufacturer, number(kSoundFontDescription.componentManufacturer)},
            {kVersion, number(kCurrentVersion)},
            {"name", {archive.presetName}},
            {"bank", {archive.bank.native()}},
            {"channels", {std::move(channels)}},
            {"parameters", {std::move(parameters)}},
            {"renderQuality", number(archive.renderQuality)},
            {"polyphony", number(archive.polyphony)}};
}

std::optional<SoundFontArchive> unarchived(const PropertyList& list) {
    const auto* dictionary = std::get_if<Dictionary>(&list.value);
    if (dictionary == nullptr || !isOurs(*dictionary)) return std::nullopt;
    const auto* bank = entry<std::string>(*dictionary, "bank");
    const auto* channels = entry<PropertyList::Array>(*dictionary, "channels");
    SoundFontArchive archive;
    if (bank == nullptr || channels == nullptr || channels->size() != archive.channels.size()) return std::nullopt;
    archive.bank = *bank;
    for (std::size_t i = 0; i < channels->size(); ++i)
        if (!readChannel((*channels)[i], archive.channels[i])) return std::nullopt;
    int quality = 0;
    if (!readNumber(*dictionary, "renderQuality", 0, 127, quality)) return std::nullopt;
    archive.renderQuality = static_cast<std::uint32_t>(quality);
    if (dictionary->contains("polyphony") && !readNumber(*dictionary, "polyphony", SoundFontSynth::kLeastPolyphony,
                                                         SoundFontSynth::kMostPolyphony, archive.polyphony))
        return std::nullopt;
    if (!readParameters(*dictionary, archive.parameters)) return std::nullopt;
    return archive;
}

}  // namespace zelvane

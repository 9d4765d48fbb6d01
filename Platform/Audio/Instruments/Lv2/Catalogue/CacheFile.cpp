// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Catalogue/CacheFile.h"

#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/PropertyList.h"

#include <optional>
#include <system_error>
#include <utility>

namespace zelvane {

namespace {

using Dictionary = PropertyList::Dictionary;
using Array = PropertyList::Array;

/// Another one whenever what is found out of an instrument, or how, changes.
constexpr std::int64_t kVersion = 1;
constexpr int kMissing = 1;

template <typename Value>
const Value* find(const Dictionary& dictionary, const char* key) {
    const auto found = dictionary.find(key);
    return found == dictionary.end() ? nullptr : std::get_if<Value>(&found->second.value);
}

std::string textIn(const Dictionary& dictionary, const char* key) {
    const auto* text = find<std::string>(dictionary, key);
    return text != nullptr ? *text : std::string();
}

std::optional<CachedInstrument> instrumentFrom(const PropertyList& list) {
    const auto* dictionary = std::get_if<Dictionary>(&list.value);
    if (dictionary == nullptr) return std::nullopt;
    CachedInstrument instrument;
    instrument.entry.uri = textIn(*dictionary, "uri");
    instrument.entry.name = textIn(*dictionary, "name");
    instrument.entry.refusal = textIn(*dictionary, "refusal");
    instrument.stamp = textIn(*dictionary, "stamp");
    if (const auto* cents = find<double>(*dictionary, "bendCents")) instrument.entry.bendCents = *cents;
    const auto* bundles = find<Array>(*dictionary, "bundles");
    if (bundles == nullptr || instrument.entry.uri.empty() || instrument.entry.name.empty()) return std::nullopt;
    for (const auto& bundle : *bundles) {
        const auto* path = std::get_if<std::string>(&bundle.value);
        if (path == nullptr) return std::nullopt;
        instrument.entry.bundles.emplace_back(*path);
    }
    return instrument;
}

PropertyList listOf(const CachedInstrument& instrument) {
    Array bundles;
    for (const auto& bundle : instrument.entry.bundles) bundles.push_back({bundle.string()});
    Dictionary dictionary{{"uri", {instrument.entry.uri}},
                          {"name", {instrument.entry.name}},
                          {"stamp", {instrument.stamp}},
                          {"bundles", {std::move(bundles)}}};
    if (!instrument.entry.refusal.empty()) dictionary["refusal"] = {instrument.entry.refusal};
    if (instrument.entry.bendCents) dictionary["bendCents"] = {*instrument.entry.bendCents};
    return {std::move(dictionary)};
}

bool isOfAnotherVersion(const PropertyList& list) {
    const auto* dictionary = std::get_if<Dictionary>(&list.value);
    const auto* version = dictionary != nullptr ? find<std::int64_t>(*dictionary, "version") : nullptr;
    return version != nullptr && *version != kVersion;
}

std::optional<InstrumentCache> cacheFrom(const PropertyList& list) {
    const auto* dictionary = std::get_if<Dictionary>(&list.value);
    const auto* instruments = dictionary != nullptr ? find<Array>(*dictionary, "instruments") : nullptr;
    if (instruments == nullptr) return std::nullopt;
    InstrumentCache cache{textIn(*dictionary, "stamp"), {}};
    for (const auto& each : *instruments) {
        auto instrument = instrumentFrom(each);
        if (!instrument) return std::nullopt;
        cache.instruments.push_back(*std::move(instrument));
    }
    return cache;
}

void setAside(const std::filesystem::path& file) {
    auto name = file;
    name += ".damaged";
    std::error_code error;
    std::filesystem::rename(file, name, error);
    Log::write("Lv2Catalogue: [%@] the list of instruments is damaged and is made again; the old one is %@",
               {"readInstrumentCache", name.string()});
}

}  // namespace

InstrumentCache readInstrumentCache(const std::filesystem::path& file) {
    Error error;
    const auto list = readPropertyListFile(file, error);
    if (!list && error.code == kMissing) return {};
    if (list && isOfAnotherVersion(*list)) return {};
    if (auto cache = list ? cacheFrom(*list) : std::nullopt) return *std::move(cache);
    setAside(file);
    return {};
}

bool writeInstrumentCache(const std::filesystem::path& file, const InstrumentCache& cache, Error& error) {
    Array instruments;
    for (const auto& instrument : cache.instruments) instruments.push_back(listOf(instrument));
    return writePropertyListFile(
        file,
        {Dictionary{{"version", {kVersion}}, {"stamp", {cache.stamp}}, {"instruments", {std::move(instruments)}}}},
        error);
}

}  // namespace zelvane

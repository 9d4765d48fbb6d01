// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Catalogue/Lv2Provider.h"

#include "Platform/Audio/Instruments/Lv2/Catalogue/UniqueNames.h"
#include "Platform/Audio/Instruments/Lv2/Lv2InstrumentFactory.h"
#include "Platform/Foundation/LocalizedString.h"

#include <cmath>
#include <cstddef>
#include <utility>

namespace zelvane {

namespace {

AudioComponentDescription describe(const Lv2Entry& entry, std::uint32_t subType) {
    return {.componentType = kAudioUnitType_MusicDevice,
            .componentSubType = subType,
            .componentManufacturer = kLv2Manufacturer,
            .componentFlags = entry.refusal.empty() ? kAudioComponentFlag_SandboxSafe : 0,
            .componentFlagsMask = 0};
}

}  // namespace

Microtones microtonesOf(const Lv2Entry& entry) {
    constexpr double kLargestShift = 90;              // cents
    constexpr double kPartOfRange = 3681.0 / 8191.0;  // at which it was measured
    if (!entry.bendCents) return Microtones::unknown;
    return std::abs(*entry.bendCents) >= kLargestShift * kPartOfRange ? Microtones::yes : Microtones::no;
}

Lv2Provider::Lv2Provider(std::unique_ptr<Lv2Catalogue> catalogue) : _catalogue(std::move(catalogue)) {}

std::string Lv2Provider::installationAdvice() const {
    return localizedString("Or install LV2 instruments, for instance the package mda-lv2.");
}

std::vector<AVAudioUnitComponent> Lv2Provider::components() {
    const auto entries = _catalogue->entries();
    const auto subTypes = uniqueSubTypes(*entries);
    std::vector<AVAudioUnitComponent> components;
    components.reserve(entries->size());
    for (std::size_t place = 0; place < entries->size(); ++place) {
        const Lv2Entry& entry = (*entries)[place];
        components.push_back({entry.name, describe(entry, subTypes[place]), microtonesOf(entry), entry.refusal});
    }
    return components;
}

std::unique_ptr<Instrument> Lv2Provider::instantiate(const AudioComponentDescription& description, Error& error) {
    const auto entry = find(description, error);
    if (!entry) return nullptr;
    if (entry->refusal.empty()) return makeLv2Instrument(*entry, error);
    error = {"Lv2", 2, entry->name + ": " + entry->refusal};
    return nullptr;
}

bool Lv2Provider::testOutOfProcess(const AudioComponentDescription& description, Error& error) {
    const auto entry = find(description, error);
    return entry && _catalogue->test(*entry, error);
}

void Lv2Provider::setChangeHandler(const std::function<void()>& handler) {
    _catalogue->setChangeHandler(handler);
}

// Whoever asks may have changed the flags: they say how to instantiate, not what.
std::optional<Lv2Entry> Lv2Provider::find(const AudioComponentDescription& description, Error& error) const {
    const auto entries = _catalogue->entries();
    const auto subTypes = uniqueSubTypes(*entries);
    for (std::size_t place = 0; place < entries->size(); ++place) {
        const AudioComponentDescription offered = describe((*entries)[place], subTypes[place]);
        if (offered.componentType == description.componentType &&
            offered.componentSubType == description.componentSubType &&
            offered.componentManufacturer == description.componentManufacturer)
            return (*entries)[place];
    }
    error = {"Lv2", 3, localizedString("There is no such instrument any more.")};
    return std::nullopt;
}

}  // namespace zelvane

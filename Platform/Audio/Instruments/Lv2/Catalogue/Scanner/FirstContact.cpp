// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Catalogue/Scanner/FirstContact.h"

#include "Platform/Audio/Instruments/Lv2/Catalogue/ContactReport.h"
#include "Platform/Audio/Instruments/Lv2/Catalogue/Scanner/PitchDistance.h"
#include "Platform/Audio/Units/PropertyReference.h"
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstring>
#include <optional>
#include <utility>

namespace zelvane {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr std::size_t kUnits = 10;
constexpr double kSampleRate = 48000;
constexpr std::uint32_t kBlock = 512;
constexpr int kBlocksASecond = 94;
constexpr std::uint16_t kCentre = 8192;
constexpr std::uint16_t kBent = 8192 + 3681;
constexpr std::uint8_t kNoteOn = 0x90, kNoteOff = 0x80, kPitchBend = 0xE0;

TimedMIDI bendEvent(std::uint16_t bend) {
    return {0, kPitchBend, static_cast<std::uint8_t>(bend & 0x7FU), static_cast<std::uint8_t>(bend >> 7U)};
}

std::vector<TimedMIDI> chord(std::uint8_t status) {
    return {{0, status, 60, 100}, {100, status, 64, 100}, {200, status, 67, 100}};
}

/// In the form that is read back in every locale.
std::string inDigits(double number) {
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed, 3);
    return {text.data(), end.ptr};
}

const UnitProperty* classInfo(const Instrument& unit) {
    const auto properties = unit.properties();
    const auto found = std::find_if(properties.begin(), properties.end(),
                                    [](const auto& each) { return each.id == kAudioUnitProperty_ClassInfo; });
    return found == properties.end() ? nullptr : &*found;
}

/// Says whether playing takes longer than what is played. All units at once may, on a machine that is busy just now.
class Pace {
  public:
    bool isTooSlow(int blocks) const {
        constexpr std::chrono::seconds kPatience{2};
        const auto passed = SteadyClock::now() - _begin;
        const double seconds = std::chrono::duration<double>(passed).count();
        return passed > kPatience && seconds > static_cast<double>(kUnits) * blocks * kBlock / kSampleRate;
    }

  private:
    const SteadyClock::time_point _begin = SteadyClock::now();
};

}  // namespace

void FirstContact::run() {
    const auto step = [&](const char* stage, auto action) {
        _report(std::string(contact::kStage) + " " + stage);
        const std::string refusal = (this->*action)();
        if (!refusal.empty()) _report(std::string(contact::kRefused) + " " + printable(refusal));
        return refusal.empty();
    };
    if (step(contact::kMaking, &FirstContact::makeUnits) && step(contact::kPlaying, &FirstContact::play) &&
        step(contact::kSaving, &FirstContact::saveAndRestore)) {
        _report(std::string(contact::kStage) + " " + contact::kPlaying);
        measureBend();
    }
    _report(std::string(contact::kStage) + " " + contact::kRemoving);
    _units.clear();
    _report(contact::kDone);
}

std::unique_ptr<Lv2Instrument> FirstContact::make(Error& error) {
    auto unit = Lv2Instrument::make(_entry, error);
    if (unit == nullptr || unit->prepare(kSampleRate, kBlock) == 0) return unit;
    error.description = localizedString("It can't be played at 48000 Hz.");
    return nullptr;
}

std::string FirstContact::makeUnits() {
    while (_units.size() < kUnits) {
        Error error;
        auto unit = make(error);
        if (unit == nullptr) return error.description;
        _units.push_back(std::move(unit));
    }
    return {};
}

std::string FirstContact::renderBlock(Lv2Instrument& unit, std::span<const TimedMIDI> events) {
    _left.assign(kBlock, 0);
    _right.assign(kBlock, 0);
    unit.render(events, _left.data(), _right.data(), kBlock);
    if (unit.faults().mutedBlocks == 0) return {};
    return localizedString("It made sound that is not a number.");
}

std::string FirstContact::play() {
    const Pace pace;
    for (int block = 0; block < kBlocksASecond; ++block) {
        const auto events = block == 0                    ? chord(kNoteOn)
                            : block == kBlocksASecond / 2 ? chord(kNoteOff)
                                                          : std::vector<TimedMIDI>();
        for (const auto& unit : _units) {
            const std::string refusal = renderBlock(*unit, events);
            if (!refusal.empty()) return refusal;
            if (pace.isTooSlow(block + 1)) return localizedString("It is too slow to be played.");
        }
    }
    return {};
}

std::string FirstContact::saveAndRestore() {
    const UnitProperty* saved = classInfo(*_units.front());
    const UnitProperty* restored = classInfo(*_units.back());
    if (saved == nullptr || restored == nullptr) return {};
    std::vector<std::byte> value(saved->size());
    if (saved->get(0, value) != 0) return localizedString("Its settings can't be saved.");
    const bool isRestored = restored->set(value) == 0;
    PropertyReference reference = 0;
    if (readPropertyValue(value, reference)) releaseProperty(reference);
    if (!isRestored) return localizedString("Its settings can't be restored.");
    return renderBlock(*_units.back(), chord(kNoteOn));
}

std::vector<float> FirstContact::sound(std::uint8_t key, std::uint16_t bend) {
    constexpr int kBlocksBefore = 30;
    constexpr std::size_t kSkipped = 2400;  // the beginning of a sound is not like the rest
    Error error;
    const auto unit = make(error);
    if (unit == nullptr) return {};
    for (int block = 0; block < kBlocksBefore; ++block) renderBlock(*unit, {});
    std::vector<TimedMIDI> events{bendEvent(bend), {16, kNoteOn, key, 100}};
    std::vector<float> samples;
    while (samples.size() < kSkipped + kPitchSamples) {
        if (!renderBlock(*unit, events).empty()) return {};
        for (std::size_t n = 0; n < kBlock; ++n) samples.push_back(_left[n] + _right[n]);
        events.clear();
    }
    samples.erase(samples.begin(), samples.begin() + kSkipped);
    samples.resize(kPitchSamples);
    return samples;
}

/// The first key that sounds is the one that tells.
void FirstContact::measureBend() {
    constexpr double kLeastPeak = 1e-5;
    constexpr double kLeastBend = 1;  // cents
    for (const std::uint8_t key : std::array<std::uint8_t, 4>{60, 48, 72, 36}) {
        const auto straight = sound(key, kCentre);
        const bool isHeard =
            std::any_of(straight.begin(), straight.end(), [](float sample) { return std::abs(sample) > kLeastPeak; });
        if (!isHeard) continue;
        const auto bent = sound(key, kBent);
        if (bent.size() != straight.size()) continue;
        const auto cents = pitchDistance(straight, bent, kSampleRate);
        if (!cents) continue;
        return _report(std::string(contact::kBend) + " " + inDigits(std::abs(*cents) < kLeastBend ? 0 : *cents));
    }
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AUPreset.h"
#include "Platform/Audio/Units/Instrument.h"
#include "Platform/Audio/Units/PropertyReference.h"
#include "Tests/Fakes/PitchMeter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace zelvane {

/// Plays an instrument block by block as a graph does: events are given by frame and handed in until they are taken.
/// Reads and sets its properties.
template <typename Kind>
class InstrumentPlayer {
  public:
    using Messages = std::vector<std::array<int, 3>>;

    InstrumentPlayer(std::unique_ptr<Kind> toPlay, double sampleRate, std::uint32_t maxFrames)
        : instrument(std::move(toPlay)), rate(sampleRate) {
        if (instrument != nullptr) {
            EXPECT_EQ(instrument->prepare(sampleRate, maxFrames), kNoError);
        }
    }

    void at(std::uint64_t frame, int status, int data1, int data2 = 0) {
        _waiting.push_back({frame,
                            {0, static_cast<std::uint8_t>(status), static_cast<std::uint8_t>(data1),
                             static_cast<std::uint8_t>(data2)}});
    }
    /// For the next block.
    void send(int status, int data1, int data2 = 0, std::uint32_t offset = 0) {
        at(_now + offset, status, data1, data2);
    }
    void send(const Messages& messages) {
        for (const auto& [status, data1, data2] : messages) send(status, data1, data2);
    }
    void bend(int value) {
        for (int channel = 0; channel < 16; ++channel) send(0xE0 | channel, value & 127, value >> 7);
    }

    /// One block into `left` and `right`; whether anything sounded.
    bool block(std::uint32_t frames = 512) {
        std::vector<TimedMIDI> events;
        for (const Waiting& waiting : _waiting) {
            if (waiting.frame >= _now + frames + instrument->lookahead()) break;
            events.push_back(waiting.message);
            events.back().offset = static_cast<std::uint32_t>(std::max(waiting.frame, _now) - _now);
        }
        left.assign(frames, 0);
        right.assign(frames, 0);
        const RenderResult result = instrument->render(events, left.data(), right.data(), frames);
        _waiting.erase(_waiting.begin(), _waiting.begin() + static_cast<std::ptrdiff_t>(result.eventsTaken));
        _now += frames;
        return !result.isSilent;
    }
    /// Some blocks of the left channel.
    std::vector<float> render(std::size_t frames, std::uint32_t blockFrames = 512) {
        std::vector<float> sound;
        while (sound.size() < frames) {
            block(static_cast<std::uint32_t>(std::min<std::size_t>(blockFrames, frames - sound.size())));
            sound.insert(sound.end(), left.begin(), left.end());
        }
        return sound;
    }
    std::vector<float> seconds(double seconds) { return render(static_cast<std::size_t>(seconds * rate)); }

    /// The frequency, near the expected one, of a note that plays for some seconds.
    double playedFrequency(double expected, int key = 69, double time = 1.5, int channel = 0) {
        send(0x90 | channel, key, 100);
        seconds(time / 20);
        const double frequency = measuredFrequency(seconds(time), rate, expected);
        send(0x80 | channel, key);
        send(0xB0 | channel, 120);
        seconds(0.1);
        return frequency;
    }

    template <typename Value>
    Value got(AudioUnitPropertyID id) const {
        Value value{};
        EXPECT_EQ(property(id).size(), sizeof value);
        EXPECT_EQ(property(id).get(0, std::as_writable_bytes(std::span(&value, 1))), kNoError);
        return value;
    }
    template <typename Value>
    OSStatus set(AudioUnitPropertyID id, const Value& value) {
        return property(id).set(std::as_bytes(std::span(&value, 1)));
    }
    PropertyList gotObject(AudioUnitPropertyID id) const {
        const auto reference = got<PropertyReference>(id);
        const auto object = propertyObject(reference);
        releaseProperty(reference);
        EXPECT_EQ(propertyObject(reference), nullptr) << "a reader's count is the only one";
        return object ? *object : PropertyList{};
    }
    OSStatus setObject(AudioUnitPropertyID id, PropertyList object) {
        const PropertyReference reference = retainProperty(std::move(object));
        const OSStatus status = set(id, reference);
        releaseProperty(reference);
        return status;
    }
    PropertyList classInfo() const { return gotObject(kAudioUnitProperty_ClassInfo); }
    OSStatus setClassInfo(const PropertyList& info) { return setObject(kAudioUnitProperty_ClassInfo, info); }
    AUPreset preset() const { return got<AUPreset>(kAudioUnitProperty_PresentPreset); }
    OSStatus setPreset(std::int32_t number) { return set(kAudioUnitProperty_PresentPreset, AUPreset{number, 0, 0}); }

    const std::unique_ptr<Kind> instrument;
    const double rate;
    std::vector<float> left, right;

  private:
    const UnitProperty& property(AudioUnitPropertyID id) const {
        const auto all = instrument->properties();
        return *std::find_if(all.begin(), all.end(), [id](const UnitProperty& one) { return one.id == id; });
    }

    struct Waiting {
        std::uint64_t frame = 0;
        TimedMIDI message;
    };

    std::vector<Waiting> _waiting;
    std::uint64_t _now = 0;
};

/// What ten units are bent by to stand ten cents apart.
constexpr std::array kBends{8192, 8601, 9010, 9419, 9828, 10237, 10646, 11055, 11464, 11873};

/// What lets a tone waver: a vibrato, in time, or the recording, which the higher units play faster. Only the same part
/// of the wave compares.
enum class Waver { inTime, withSpeed };

/// The largest error in cents of the units' distances from the first, when `makePlayer` makes one for each bend.
template <typename MakePlayer>
double largestTuningError(const MakePlayer& makePlayer, int key = 69, Waver waver = Waver::inTime) {
    double reference = frequencyOfKey(key);
    double worst = 0;
    for (std::size_t unit = 0; unit < kBends.size(); ++unit) {
        const auto player = makePlayer(kBends[unit]);
        const double speed = waver == Waver::withSpeed ? std::exp2(static_cast<double>(unit) / 120) : 1;
        const double frequency = player->playedFrequency(reference, key, 3 / speed);
        if (unit == 0) reference = frequency;
        worst = std::max(worst, std::fabs(centsAbove(reference, frequency) - 10.0 * static_cast<double>(unit)));
    }
    return worst;
}

}  // namespace zelvane

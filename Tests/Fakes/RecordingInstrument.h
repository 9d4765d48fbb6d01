// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AudioComponent.h"
#include "Platform/Audio/Units/PropertyReference.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace zelvane {

/// A message as an instrument got it, with the frame of its own stream at which it was to sound.
struct PlayedEvent {
    std::int64_t frame;
    std::uint8_t status, data1, data2;

    bool operator==(const PlayedEvent&) const = default;
};

/// An instrument that honours offsets: each note-on is one sample of height velocity/128 at its very frame, and
/// everything it is told is kept, up to a fixed number so that it never allocates while it plays.
class RecordingInstrument final : public Instrument {
  public:
    static constexpr std::size_t kLimit = 1U << 18;

    RecordingInstrument() {
        played.reserve(kLimit);
        _parameters.push_back(
            {.id = 7, .symbol = "gain", .name = "Gain", .minimum = 0, .maximum = 2, .defaultValue = 1});
        _properties.push_back({.id = kMusicDeviceProperty_UsesInternalReverb,
                               .isWritable = true,
                               .size = [] { return 4U; },
                               .get =
                                   [this](AudioUnitElement, std::span<std::byte> out) {
                                       writePropertyValue(out, reverb.load());
                                       return kNoError;
                                   },
                               .set =
                                   [this](std::span<const std::byte> value) {
                                       std::uint32_t on = 0;
                                       if (!readPropertyValue(value, on)) return kAudioUnitErr_InvalidPropertyValue;
                                       reverb = on;
                                       return kNoError;
                                   }});
        for (const auto& [id, size] : {std::pair{kNumber, 8U}, {kFrame, 12U}, {kAudioUnitProperty_PresentPreset, 16U}})
            addStored(id, size);
        addClassInfo(kAudioUnitProperty_ClassInfo);
        addClassInfo(kAudioUnitProperty_ClassInfoFromDocument);
    }

    static constexpr AudioUnitPropertyID kNumber = 70000;  ///< of 8 bytes
    static constexpr AudioUnitPropertyID kFrame = 70001;   ///< of 12 bytes

    /// What a property holds. Read and change it only while nobody else does.
    struct Stored {
        std::vector<std::byte> bytes;
        PropertyList object = {};  ///< of one that refers to an object
        int timesSet = 0;
        bool isRefusing = false;
    };
    std::map<AudioUnitPropertyID, Stored> stored;

    OSStatus prepare(double, std::uint32_t) override { return kNoError; }
    void silence() noexcept override { ++silenced; }
    std::span<const UnitParameter> parameters() const override { return _parameters; }
    std::span<const UnitProperty> properties() const override { return _properties; }
    void setParameter(std::size_t, float value) noexcept override { _gain = value; }
    std::optional<float> parameterValue(std::size_t) const noexcept override { return _gain; }
    /// Changes the parameter as restored settings would.
    void restoreParameter(float value) { _gain = value; }

    RenderResult render(std::span<const TimedMIDI> events, float* left, float* right,
                        std::uint32_t frames) noexcept override {
        std::fill_n(left, frames, 0.0F);
        std::fill_n(right, frames, 0.0F);
        for (const TimedMIDI& event : events) {
            if (played.size() < kLimit)
                played.push_back({_frame + event.offset, event.status, event.data1, event.data2});
            if ((event.status & 0xF0) == 0x90) left[event.offset] += _gain * static_cast<float>(event.data2) / 128.0F;
        }
        if (emits != 0) std::fill_n(right, frames, emits.load());
        _frame += frames;
        return {events.size(), events.empty() && emits == 0};
    }

    std::vector<PlayedEvent> played;  ///< read it only while nothing renders
    std::atomic<int> silenced{0};
    std::atomic<std::uint32_t> reverb{0};
    std::atomic<float> emits{0};  ///< a constant on the right channel

  private:
    void addStored(AudioUnitPropertyID id, std::uint32_t size) {
        stored[id].bytes.resize(size);
        _properties.push_back({.id = id,
                               .isWritable = true,
                               .size = [size] { return size; },
                               .get =
                                   [this, id](AudioUnitElement, std::span<std::byte> out) {
                                       std::copy(stored[id].bytes.begin(), stored[id].bytes.end(), out.begin());
                                       return kNoError;
                                   },
                               .set =
                                   [this, id](std::span<const std::byte> value) {
                                       if (stored[id].isRefusing || value.size() != stored[id].bytes.size())
                                           return kAudioUnitErr_InvalidPropertyValue;
                                       stored[id].bytes.assign(value.begin(), value.end());
                                       ++stored[id].timesSet;
                                       return kNoError;
                                   }});
    }

    void addClassInfo(AudioUnitPropertyID id) {
        stored[id].object = {std::string("fresh")};
        _properties.push_back({.id = id,
                               .isWritable = true,
                               .size = [] { return 8U; },
                               .get =
                                   [this, id](AudioUnitElement, std::span<std::byte> out) {
                                       if (stored[id].isRefusing) return kAudioUnitErr_InvalidProperty;
                                       writePropertyValue(out, retainProperty(stored[id].object));
                                       return kNoError;
                                   },
                               .set = [this, id](std::span<const std::byte> value) { return setObject(id, value); },
                               .holdsReference = true});
    }

    OSStatus setObject(AudioUnitPropertyID id, std::span<const std::byte> value) {
        PropertyReference reference = 0;
        const auto object = readPropertyValue(value, reference) ? propertyObject(reference) : nullptr;
        if (stored[id].isRefusing || object == nullptr) return kAudioUnitErr_InvalidPropertyValue;
        stored[id].object = *object;
        ++stored[id].timesSet;
        return kNoError;
    }

    std::vector<UnitParameter> _parameters;
    std::vector<UnitProperty> _properties;
    std::int64_t _frame = 0;
    std::atomic<float> _gain{1};
};

/// Offers recording instruments under names, and remembers the instances in the order in which they were made.
class RecordingProvider final : public AudioComponentProvider {
  public:
    explicit RecordingProvider(std::vector<std::string> names = {"DLSMusicDevice"}) : _names(std::move(names)) {}

    std::string installationAdvice() const override { return "Install something that sounds."; }

    std::vector<AVAudioUnitComponent> components() override {
        std::vector<AVAudioUnitComponent> all;
        for (std::size_t i = 0; i < _names.size(); ++i) {
            if (gone.contains(static_cast<int>(i + 1))) continue;
            const auto subType = static_cast<std::uint32_t>(i + 1);
            all.push_back({_names[i],
                           {kAudioUnitType_MusicDevice, subType, 1, kAudioComponentFlag_SandboxSafe, 0},
                           coarse.contains(static_cast<int>(i + 1)) ? Microtones::no : Microtones::yes});
        }
        return all;
    }

    std::unique_ptr<Instrument> instantiate(const AudioComponentDescription& description, Error& error) override {
        const std::lock_guard lock(_mutex);
        if (failing.count(static_cast<int>(description.componentSubType)) != 0) {
            error = {"Test", 1, "it is broken"};
            return nullptr;
        }
        auto instrument = std::make_unique<RecordingInstrument>();
        made.push_back(instrument.get());
        return instrument;
    }

    std::vector<RecordingInstrument*> made;  ///< read it only while the loader is idle
    std::set<int> failing;                   ///< places in the list of names, from 1
    std::set<int> coarse;                    ///< likewise; they do not follow pitch bend
    std::set<int> gone;                      ///< likewise; change it only while the loader is idle

  private:
    const std::vector<std::string> _names;
    std::mutex _mutex;
};

}  // namespace zelvane

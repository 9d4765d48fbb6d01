// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Lv2Entry.h"
#include "Platform/Audio/Instruments/Lv2/Lv2PatchProperties.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Watch.h"
#include "Platform/Audio/Units/Instrument.h"
#include "Platform/Audio/Units/PropertyReference.h"
#include "Platform/Foundation/Error.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace zelvane {

class Lv2Instance;
class Lv2Renderer;
class Lv2Source;
class RunGate;

/// An instance of an LV2 plug-in as an instrument.
///
/// The audio thread runs the plug-in. What a control thread has to do with it that must not happen meanwhile (restoring
/// state) it does behind a gate, at which the audio thread turns round and renders silence.
class Lv2Instrument : public Instrument, private Lv2Watched {
  public:
    /// Counts since the instrument was made. Any thread.
    struct Faults {
        std::uint64_t mutedBlocks = 0;  ///< held what is no number
        std::uint64_t slowRuns = 0;     ///< took longer than their sound lasts
        std::uint64_t lostWork = 0;     ///< requests to the plug-in's worker and its answers
        std::uint64_t lostNews = 0;     ///< lines for the log, and properties that the plug-in told of
    };

    /// Null, with the reason, when the plug-in refuses.
    static std::unique_ptr<Lv2Instrument> make(const Lv2Entry& entry, Error& error);
    ~Lv2Instrument() override;

    void setPropertyHandler(const std::function<void(AudioUnitPropertyID)>& handler) override;
    bool hasNativeEditor() override;
    std::unique_ptr<NativeEditor> openNativeEditor(const NativeEditor::Host& host, Error& error) override;
    OSStatus prepare(double sampleRate, std::uint32_t maxFrames) override;
    void silence() noexcept override { _mustSilence.store(true, std::memory_order_release); }
    std::span<const UnitParameter> parameters() const override;
    std::span<const UnitProperty> properties() const override { return _properties; }
    std::optional<float> parameterValue(std::size_t index) const noexcept override;
    double latencySeconds() const override;
    double tailSeconds() const override;
    void setParameter(std::size_t index, float value) noexcept override;
    RenderResult render(std::span<const TimedMIDI> events, float* left, float* right,
                        std::uint32_t frames) noexcept override;

    Faults faults() const;

    /// Control threads, also while rendering.
    PropertyList classInfo();
    OSStatus restore(const PropertyList& classInfo);
    /// The names of the factory presets; a preset's number is its place.
    std::vector<std::string> presetNames() const;
    /// -1 when no factory preset was chosen.
    std::int32_t presentPreset() const;
    /// A reference that stays good until the next call.
    PropertyReference presentPresetName();
    OSStatus selectPreset(std::int32_t number);
    Lv2PatchProperties& patches() { return _patches; }

  private:
    Lv2Instrument(std::shared_ptr<Lv2Source> source, std::optional<double> bendCents);
    void tellNews() override;
    void tellChanges();
    void tellOnce(const std::atomic<std::uint64_t>& counter, std::atomic<bool>& isTold, const char* what);
    std::unique_ptr<Lv2Instance> makeInstance(double sampleRate, Error& error);
    OSStatus rebuild(double sampleRate);
    void setControl(const std::string& symbol, float value);
    void setDefaults();
    PropertyList::Dictionary parameterValues() const;
    void setParameterValues(const PropertyList::Dictionary& values);
    template <typename Change>
    OSStatus changeWhileStill(const Change& change);

    const std::shared_ptr<Lv2Source> _source;
    const std::unique_ptr<std::atomic<float>[]> _values;  // of the parameters; written and read by all
    Lv2PatchProperties _patches;
    const std::unique_ptr<class Lv2EditorFeed> _editorFeed;
    const std::unique_ptr<RunGate> _gate;
    const std::unique_ptr<struct Lv2Health> _health;
    const std::unique_ptr<Lv2Renderer> _renderer;
    std::atomic<bool> _mustSilence{false};    // set by any thread, cleared by the audio thread
    std::atomic<bool> _mustSendBends{false};  // set by control threads, cleared by the audio thread
    std::atomic<float> _latencyFrames{0};     // written by the audio thread, read by control threads
    std::atomic<double> _sampleRate{0};       // written and read by control threads
    std::atomic<std::uint64_t> _rebuilds{0};  // likewise
    std::mutex _handlerMutex;                 // control threads against each other; guards what follows
    std::function<void(AudioUnitPropertyID)> _propertyHandler;

    mutable std::mutex _mutex;   // control threads against each other; guards what follows, and the instance
    std::string _presentPreset;  // its URI; empty for none
    PropertyReference _presetName = 0;

    const std::vector<UnitProperty> _properties;
    std::optional<Lv2Watch> _watch;
};

}  // namespace zelvane

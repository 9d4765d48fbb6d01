// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/SoundFont/SoundFontArchive.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontBank.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontRenderer.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontState.h"
#include "Platform/Audio/Instruments/SoundFont/SynthStack.h"
#include "Platform/Audio/Units/Instrument.h"
#include "Platform/Audio/Units/PropertyReference.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

namespace zelvane {

/// A General MIDI instrument of sixteen channels that plays sound fonts.
///
/// While rendering, only the audio thread touches the synth. A control thread that changes the bank builds a new synth
/// and leaves it in `_next`; the audio thread takes it at its next block, ends the voices of the old one, brings the
/// new one to the state that stands, and puts the old one on `_retired`, where control threads find and free it.
class SoundFontInstrument : public Instrument {
  public:
    explicit SoundFontInstrument(std::shared_ptr<SoundFontBank> bank);
    ~SoundFontInstrument() override;

    OSStatus prepare(double sampleRate, std::uint32_t maxFrames) override;
    void silence() noexcept override { _mustSilence.store(true, std::memory_order_release); }
    std::span<const UnitParameter> parameters() const override { return soundFontParameters(); }
    std::span<const UnitProperty> properties() const override { return _properties; }
    double tailSeconds() const override;
    std::uint32_t lookahead() const noexcept override { return _renderer.lookahead(); }
    void setParameter(std::size_t index, float value) noexcept override;
    RenderResult render(std::span<const TimedMIDI> events, float* left, float* right,
                        std::uint32_t frames) noexcept override;

    /// A parameter's value as it stands, which restored settings change too. Any thread.
    std::optional<float> parameterValue(std::size_t index) const noexcept override;

    /// Control threads, also while rendering.
    OSStatus loadBank(const std::filesystem::path& file);
    std::shared_ptr<SoundFontBank> bank() const;
    SoundFontArchive archive() const;
    OSStatus restore(const SoundFontArchive& archive);
    /// A melodic preset is for the fifteen melodic channels, a drum kit for the tenth.
    OSStatus selectPreset(std::int32_t number);
    OSStatus selectChannelPreset(int channel, std::int32_t number);
    std::int32_t channelPreset(int channel) const { return _state.preset(channel); }
    std::int32_t presentPreset() const { return _state.preset(0); }
    std::string presetName(std::int32_t number) const;
    /// A reference that stays good until the next call.
    PropertyReference presetNameReference(std::int32_t number);

    /// How many voices may sound at a time. A change ends those that sound.
    int polyphony() const;
    OSStatus setPolyphony(int polyphony);

    SoundFontState& state() { return _state; }

  private:
    OSStatus exchangeSynth(std::shared_ptr<SoundFontBank> bank, int polyphony);
    void awaitRetirement();
    void freeRetired();
    void takeNextSynth() noexcept;

    SoundFontState _state;
    SoundFontRenderer _renderer{_state};
    std::atomic<SoundFontSynth*> _next{nullptr};  // written by control threads, taken by the audio thread
    SynthStack _retired;                          // pushed by the audio thread, taken by control threads
    std::atomic<bool> _mustSilence{false};        // set by any thread, cleared by the audio thread
    std::atomic<std::uint32_t> _blocks{0};        // counted by the audio thread, read by control threads

    mutable std::mutex _mutex;  // control threads against each other; guards what follows
    std::shared_ptr<SoundFontBank> _bank;
    int _polyphony = SoundFontSynth::kPolyphony;
    double _synthRate = 0;  // 0 before the first `prepare`
    PropertyReference _presetName = 0;

    const std::vector<UnitProperty> _properties;
};

}  // namespace zelvane

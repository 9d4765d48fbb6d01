// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/SoundFont/SoundFontParameters.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontSynth.h"
#include "Platform/Audio/Units/Instrument.h"

#include <array>
#include <atomic>
#include <cstdint>

namespace zelvane {

/// What is kept of a channel with the instrument's settings. Not the bend, which is the tuning of the unit: settings
/// are copied from one unit to the others. Not pedals and pressure, which hands and feet hold only for a moment.
struct SoundFontChannelSettings {
    int bank = 0;
    int program = 0;
    int bendRange = 2;
    int fineTune = 0;
    int coarseTune = 0;
    bool isMono = false;
    std::array<std::uint8_t, 128> controllers{};
};

using SoundFontSettings = std::array<SoundFontChannelSettings, SoundFontSynth::kChannels>;

/// What MIDI messages, parameters and restored settings made of an instrument: enough to bring another synth, or this
/// one after a reset, to the same state.
///
/// Everything is a relaxed atomic that the audio thread (by messages) and control threads (by settings) write and both
/// read; a control thread then raises a flag, upon which the audio thread sends the state to the synth. The state
/// leads, the synth follows, so the two agree in whatever order messages and settings come.
class SoundFontState {
  public:
    explicit SoundFontState(const std::array<std::uint8_t, 128>& defaultControllers);

    /// Plays a message and keeps what it changed; what is no channel message does nothing. Audio thread, real-time
    /// safe.
    ///
    /// Controller 121 leaves the bend as it stands, and the tuning that registered parameters set: the bend is what
    /// makes this unit sound its tenth of a semitone, and a channel that falls out of tune with the first "reset all
    /// controllers" is of no use here. A player's own bend counts as the unit's bend until the next one comes.
    void play(const TimedMIDI& message, SoundFontSynth& synth) noexcept;

    /// Brings a synth to this state. The thread that renders it, real-time safe.
    void sendTo(SoundFontSynth& synth) noexcept;
    /// Does so if a control thread asked for it.
    void sendIfChanged(SoundFontSynth& synth) noexcept;

    /// Sets the parameters and the render quality that changed. Audio thread, real-time safe.
    void sendParameters(SoundFontSynth& synth) noexcept;

    /// Any thread, real-time safe.
    void setParameter(SoundFontParameter parameter, float value) noexcept;
    float parameter(SoundFontParameter parameter) const noexcept;
    bool hasEffects() const noexcept;
    void setRenderQuality(std::uint32_t quality) noexcept;
    std::uint32_t renderQuality() const noexcept { return _renderQuality.load(std::memory_order_relaxed); }

    /// Control threads.
    SoundFontSettings settings() const;
    void setSettings(const SoundFontSettings& settings);
    /// The preset of a channel as bank times 128 plus program.
    std::int32_t preset(int channel) const;
    void selectPreset(int channel, int bank, int program);
    void askToSend() { _isChanged.store(true, std::memory_order_release); }

  private:
    struct Channel {
        std::atomic<std::uint16_t> bend{8192};
        std::atomic<std::uint16_t> bank{0};     // for the next program change
        std::atomic<std::uint16_t> playing{0};  // the bank that the last program change took
        std::atomic<std::uint8_t> program{0};
        std::atomic<std::uint8_t> pressure{0};
        std::atomic<std::uint8_t> bendRange{2};
        std::atomic<std::int16_t> fineTune{0};
        std::atomic<std::int16_t> coarseTune{0};
        std::atomic<bool> isMono{false};
        std::atomic<bool> isRegistered{true};  // data entries belong to a registered parameter
        std::array<std::atomic<std::uint8_t>, 128> controllers{};
    };

    Channel& channel(int number) noexcept { return _channels[static_cast<std::size_t>(number)]; }
    void playController(int number, int controller, int value, SoundFontSynth& synth) noexcept;
    void resetControllers(int number, SoundFontSynth& synth) noexcept;
    void readRegistered(int number, SoundFontSynth& synth) noexcept;
    void sendChannel(int number, SoundFontSynth& synth) noexcept;
    static void sendProgram(const Channel& channel, int number, SoundFontSynth& synth) noexcept;
    static void sendControllers(const Channel& channel, int number, SoundFontSynth& synth) noexcept;

    static constexpr std::uint32_t kQualityBit = 1U << kSoundFontParameterCount;
    static constexpr std::uint32_t kAllBits = (kQualityBit << 1) - 1;

    std::array<Channel, SoundFontSynth::kChannels> _channels;
    std::array<std::atomic<float>, kSoundFontParameterCount> _parameters;
    std::atomic<std::uint32_t> _renderQuality{64};
    std::atomic<std::uint32_t> _changedParameters{kAllBits};  // a bit each: set by all, cleared by the audio thread
    std::atomic<bool> _isChanged{false};                      // set by control threads, cleared by the audio thread
};

/// Whether it begins a note. Real-time safe.
constexpr bool isNoteOn(const TimedMIDI& message) {
    return (message.status & 0xF0) == 0x90 && message.data2 > 0;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <memory>

struct _fluid_hashtable_t;
struct _fluid_synth_t;
struct _fluid_sfont_t;

namespace zelvane {

class SoundFontBank;

/// How FluidSynth's effects are set; ranges stand with the parameters.
struct ReverbSettings {
    bool isOn = false;
    double level = 0, room = 0, damp = 0, width = 0;
};
struct ChorusSettings {
    bool isOn = false;
    int voices = 0;
    double level = 0, speed = 0, depth = 0;
};

/// One FluidSynth synthesizer of sixteen channels, tuned so that pitch bends in tenths of a semitone are exact.
///
/// It is used without FluidSynth's locks: by one thread at a time, the audio thread while it is rendered. All but
/// construction and destruction is real-time safe.
class SoundFontSynth {
  public:
    static constexpr std::uint32_t kChunkFrames = 64;  ///< FluidSynth's own grid: events count at its lines only
    static constexpr int kChannels = 16;
    static constexpr int kDrumChannel = 9;
    static constexpr int kPolyphony = 64;
    static constexpr int kLeastPolyphony = 8;
    static constexpr int kMostPolyphony = 512;

    /// Rates from 8000 to 96000. The polyphony is how many voices may sound at a time.
    SoundFontSynth(std::shared_ptr<SoundFontBank> bank, double sampleRate, int polyphony = kPolyphony);
    ~SoundFontSynth();
    SoundFontSynth(const SoundFontSynth&) = delete;
    SoundFontSynth& operator=(const SoundFontSynth&) = delete;

    bool isValid() const { return _synth != nullptr; }
    SoundFontBank& bank() const { return *_bank; }
    std::shared_ptr<SoundFontBank> releaseBank() { return std::move(_bank); }

    void noteOn(int channel, int key, int velocity) noexcept;
    void noteOff(int channel, int key) noexcept;
    void keyPressure(int channel, int key, int value) noexcept;
    void channelPressure(int channel, int value) noexcept;
    void bend(int channel, int value) noexcept;
    /// Any controller but the mode messages 121 and above.
    void controller(int channel, int number, int value) noexcept;
    int controllerValue(int channel, int number) const noexcept;
    /// Controller 121: what it resets, the bend and the fine tuning among it, is to be sent again where it shall stay.
    void resetControllers(int channel) noexcept;
    void allNotesOff(int channel) noexcept;
    void setMono(int channel, bool isMono) noexcept;
    void program(int channel, int program) noexcept;
    void bank(int channel, int bank) noexcept;

    /// What registered parameters set: range in semitones, cents and semitones.
    int bendRange(int channel) const noexcept;
    void setBendRange(int channel, int semitones) noexcept;
    /// Reading it also repairs what a data entry did to the exact tuning.
    int fineTune(int channel) noexcept;
    void setFineTune(int channel, int cents) noexcept;
    int coarseTune(int channel) const noexcept;
    void setCoarseTune(int channel, int semitones) noexcept;

    void setGain(double gain) noexcept;
    void setReverb(const ReverbSettings& reverb) noexcept;
    void setChorus(const ChorusSettings& chorus) noexcept;
    /// 0, 1, 4 or 7 points.
    void setInterpolation(int points) noexcept;

    /// The next `kChunkFrames` frames.
    void render(float* left, float* right) noexcept;
    /// Voices that sound. To be asked before each chunk: FluidSynth takes ended voices back only when it is called.
    int activeVoices() noexcept;
    /// False when no voice can sound since `activeVoices` said so. Asks FluidSynth nothing.
    bool mayHaveVoices() const noexcept { return _mayHaveVoices; }
    /// Ends all voices at once.
    void endVoices() noexcept;
    /// As new, tails of the effects gone too; programs, controllers and bends are to be sent again.
    void reset() noexcept;

    std::unique_ptr<SoundFontSynth> following;  ///< of a `SynthStack`

  private:
    bool configure(double sampleRate, int polyphony);
    void makeTuningExact();
    void makeChannelsIndependent() noexcept;

    std::shared_ptr<SoundFontBank> _bank;
    _fluid_sfont_t* _font;
    _fluid_hashtable_t* _settings = nullptr;
    _fluid_synth_t* _synth = nullptr;
    std::array<int, kChannels> _fineTune{};
    bool _mayHaveVoices = false;
};

}  // namespace zelvane

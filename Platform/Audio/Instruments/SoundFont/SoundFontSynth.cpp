// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/SoundFont/SoundFontSynth.h"

#include "Platform/Audio/Instruments/SoundFont/FluidSynthLog.h"
#include "Platform/Audio/Instruments/SoundFont/FluidSynthMutex.h"
#include "Platform/Audio/Instruments/SoundFont/SerialOpenMP.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontBank.h"

#include <fluidsynth.h>

#include <cmath>
#include <utility>

namespace zelvane {

namespace {

// FluidSynth cuts every pitch to whole cents, downwards. The tunings are bends in steps of 409, just short of ten cents
// when the bend range is two semitones, so a unit would come out up to a cent flat against the others. Two corrections
// make every step ten cents to the bit:
// - FluidSynth's bend modulator spans 12700 cents where it divides by 128; widened so that a bend of 409 is ten cents
// at
//   the range of two semitones. At its ends a bend is then 0.3 cents wide, which the cut takes away again.
// - Half a cent on every channel turns the cut into rounding; the thousandth keeps sums that are whole in theory from
//   falling short of it by the last bit of a float.
constexpr double kModulatorDivisor = 128;
constexpr double kStandardAmount = 12700;
constexpr double kExactAmount = kModulatorDivisor / 2 * (10.0 * 8192 / 409);
constexpr float kRounding = 0.501F;

}  // namespace

SoundFontSynth::SoundFontSynth(std::shared_ptr<SoundFontBank> bank, double sampleRate, int polyphony)
    : _bank(std::move(bank)), _font(_bank->font()) {
    prepareSerialOpenMP();
    const FluidSynthSilence silence;
    const std::lock_guard lock(fluidSynthMutex());
    if (!configure(sampleRate, polyphony)) return;
    _synth = new_fluid_synth(_settings);
    if (_synth == nullptr) return;
    fluid_synth_add_sfont(_synth, _font);
    makeTuningExact();
    makeChannelsIndependent();
    fluid_synth_program_reset(_synth);
}

bool SoundFontSynth::configure(double sampleRate, int polyphony) {
    _settings = new_fluid_settings();
    if (_settings == nullptr) return false;
    fluid_settings_setint(_settings, "synth.threadsafe-api", 0);
    fluid_settings_setint(_settings, "synth.lock-memory", 0);
    fluid_settings_setint(_settings, "synth.dynamic-sample-loading", 0);
    fluid_settings_setint(_settings, "synth.polyphony", polyphony);
    fluid_settings_setint(_settings, "synth.reverb.active", 0);
    fluid_settings_setint(_settings, "synth.chorus.active", 0);
    fluid_settings_setstr(_settings, "synth.midi-bank-select", "gs");
    return fluid_settings_setnum(_settings, "synth.sample-rate", sampleRate) != FLUID_FAILED;
}

void SoundFontSynth::makeTuningExact() {
    fluid_mod_t* modulator = new_fluid_mod();
    if (modulator == nullptr) return;
    fluid_mod_set_source1(modulator, FLUID_MOD_PITCHWHEEL,
                          FLUID_MOD_GC | FLUID_MOD_LINEAR | FLUID_MOD_BIPOLAR | FLUID_MOD_POSITIVE);
    fluid_mod_set_source2(modulator, FLUID_MOD_PITCHWHEELSENS,
                          FLUID_MOD_GC | FLUID_MOD_LINEAR | FLUID_MOD_UNIPOLAR | FLUID_MOD_POSITIVE);
    fluid_mod_set_dest(modulator, GEN_PITCH);
    fluid_mod_set_amount(modulator, kExactAmount - kStandardAmount);
    fluid_synth_add_default_mod(_synth, modulator, FLUID_SYNTH_ADD);
    delete_fluid_mod(modulator);
}

// FluidSynth joins all channels in one group, of which a mode message to one channel would disable the others.
void SoundFontSynth::makeChannelsIndependent() noexcept {
    fluid_synth_reset_basic_channel(_synth, -1);
    for (int channel = 0; channel < kChannels; ++channel) {
        fluid_synth_set_basic_channel(_synth, channel, FLUID_CHANNEL_MODE_OMNIOFF_POLY, 1);
        setFineTune(channel, 0);
    }
}

SoundFontSynth::~SoundFontSynth() {
    const FluidSynthSilence silence;
    const std::lock_guard lock(fluidSynthMutex());
    if (_synth != nullptr) {
        fluid_synth_remove_sfont(_synth, _font);
        delete_fluid_synth(_synth);
    }
    if (_settings != nullptr) delete_fluid_settings(_settings);
}

void SoundFontSynth::noteOn(int channel, int key, int velocity) noexcept {
    _mayHaveVoices = true;
    fluid_synth_noteon(_synth, channel, key, velocity);
}

void SoundFontSynth::noteOff(int channel, int key) noexcept {
    fluid_synth_noteoff(_synth, channel, key);
}

void SoundFontSynth::keyPressure(int channel, int key, int value) noexcept {
    fluid_synth_key_pressure(_synth, channel, key, value);
}

void SoundFontSynth::channelPressure(int channel, int value) noexcept {
    fluid_synth_channel_pressure(_synth, channel, value);
}

void SoundFontSynth::bend(int channel, int value) noexcept {
    fluid_synth_pitch_bend(_synth, channel, value);
}

void SoundFontSynth::controller(int channel, int number, int value) noexcept {
    fluid_synth_cc(_synth, channel, number, value);
}

int SoundFontSynth::controllerValue(int channel, int number) const noexcept {
    int value = 0;
    fluid_synth_get_cc(_synth, channel, number, &value);
    return value;
}

void SoundFontSynth::resetControllers(int channel) noexcept {
    fluid_synth_cc(_synth, channel, 64, 0);
    fluid_synth_cc(_synth, channel, 66, 0);
    fluid_synth_cc(_synth, channel, 121, 0);
}

void SoundFontSynth::allNotesOff(int channel) noexcept {
    fluid_synth_all_notes_off(_synth, channel);
}

void SoundFontSynth::setMono(int channel, bool isMono) noexcept {
    fluid_synth_cc(_synth, channel, isMono ? 126 : 127, isMono ? 1 : 0);
}

void SoundFontSynth::program(int channel, int program) noexcept {
    fluid_synth_program_change(_synth, channel, program);
}

void SoundFontSynth::bank(int channel, int bank) noexcept {
    fluid_synth_bank_select(_synth, channel, bank);
}

int SoundFontSynth::bendRange(int channel) const noexcept {
    int semitones = 2;
    fluid_synth_get_pitch_wheel_sens(_synth, channel, &semitones);
    return semitones;
}

void SoundFontSynth::setBendRange(int channel, int semitones) noexcept {
    fluid_synth_pitch_wheel_sens(_synth, channel, semitones);
}

int SoundFontSynth::fineTune(int channel) noexcept {
    const auto index = static_cast<std::size_t>(channel);
    const float generator = fluid_synth_get_gen(_synth, channel, GEN_FINETUNE);
    if (generator != static_cast<float>(_fineTune[index]) + kRounding) {
        setFineTune(channel, static_cast<int>(std::lround(generator)));
    }
    return _fineTune[index];
}

void SoundFontSynth::setFineTune(int channel, int cents) noexcept {
    _fineTune[static_cast<std::size_t>(channel)] = cents;
    fluid_synth_set_gen(_synth, channel, GEN_FINETUNE, static_cast<float>(cents) + kRounding);
}

int SoundFontSynth::coarseTune(int channel) const noexcept {
    return static_cast<int>(std::lround(fluid_synth_get_gen(_synth, channel, GEN_COARSETUNE)));
}

void SoundFontSynth::setCoarseTune(int channel, int semitones) noexcept {
    fluid_synth_set_gen(_synth, channel, GEN_COARSETUNE, static_cast<float>(semitones));
}

void SoundFontSynth::setGain(double gain) noexcept {
    fluid_synth_set_gain(_synth, static_cast<float>(gain));
}

// The setters that replace these two old ones look the ranges up in the settings, behind a lock.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
void SoundFontSynth::setReverb(const ReverbSettings& reverb) noexcept {
    fluid_synth_set_reverb(_synth, reverb.room, reverb.damp, reverb.width, reverb.level);
    fluid_synth_reverb_on(_synth, -1, reverb.isOn ? 1 : 0);
}

void SoundFontSynth::setChorus(const ChorusSettings& chorus) noexcept {
    fluid_synth_set_chorus(_synth, chorus.voices, chorus.level, chorus.speed, chorus.depth, FLUID_CHORUS_MOD_SINE);
    fluid_synth_chorus_on(_synth, -1, chorus.isOn ? 1 : 0);
}
#pragma GCC diagnostic pop

void SoundFontSynth::setInterpolation(int points) noexcept {
    fluid_synth_set_interp_method(_synth, -1, points);
}

void SoundFontSynth::render(float* left, float* right) noexcept {
    fluid_synth_write_float(_synth, static_cast<int>(kChunkFrames), left, 0, 1, right, 0, 1);
}

int SoundFontSynth::activeVoices() noexcept {
    const int voices = fluid_synth_get_active_voice_count(_synth);
    _mayHaveVoices = voices > 0;
    return voices;
}

void SoundFontSynth::endVoices() noexcept {
    constexpr int kMostChunks = 4;
    std::array<float, kChunkFrames> left{};
    std::array<float, kChunkFrames> right{};
    fluid_synth_all_sounds_off(_synth, -1);
    for (int chunk = 0; chunk < kMostChunks; ++chunk) {
        render(left.data(), right.data());
        if (activeVoices() == 0) return;
    }
}

void SoundFontSynth::reset() noexcept {
    const FluidSynthSilence silence;
    endVoices();
    fluid_synth_system_reset(_synth);
    makeChannelsIndependent();
}

}  // namespace zelvane

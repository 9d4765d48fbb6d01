// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/SoundFont/SoundFontInstrument.h"

#include "Platform/Audio/Instruments/SoundFont/SoundFontProperties.h"
#include "Platform/Audio/RealtimeScope.h"
#include "Platform/Foundation/Log.h"

#include <chrono>
#include <thread>
#include <utility>

namespace zelvane {

namespace {

constexpr double kLeastRate = 8000;
constexpr double kMostRate = 96000;  // FluidSynth's limit; higher rates are stretched from a half, a quarter, an eighth
constexpr double kReleaseSeconds = 2;
constexpr double kReverbSeconds = 5;

std::uint32_t stretchFor(double sampleRate) {
    std::uint32_t stretch = 1;
    while (sampleRate / stretch > kMostRate && stretch < SoundFontRenderer::kMostStretch) stretch *= 2;
    return stretch;
}

}  // namespace

SoundFontInstrument::SoundFontInstrument(std::shared_ptr<SoundFontBank> bank)
    : _state(bank->defaultControllers()), _bank(std::move(bank)), _properties(soundFontProperties(*this)) {}

SoundFontInstrument::~SoundFontInstrument() {
    const std::unique_ptr<SoundFontSynth> unused(_next.exchange(nullptr, std::memory_order_acquire));
    if (auto synth = _renderer.replaceSynth(nullptr, 1)) SoundFontBank::leave(std::move(synth));
    releaseProperty(_presetName);
}

OSStatus SoundFontInstrument::prepare(double sampleRate, std::uint32_t) {
    const std::uint32_t stretch = stretchFor(sampleRate);
    const double synthRate = sampleRate / stretch;
    if (!(synthRate >= kLeastRate && synthRate <= kMostRate)) return kAudioUnitErr_FailedInitialization;
    const std::lock_guard lock(_mutex);
    auto synth = std::make_unique<SoundFontSynth>(_bank, synthRate, _polyphony);
    if (!synth->isValid()) return kAudioUnitErr_FailedInitialization;
    const std::unique_ptr<SoundFontSynth> unused(_next.exchange(nullptr, std::memory_order_acquire));
    _state.sendTo(*synth);
    _synthRate = synthRate;
    if (auto former = _renderer.replaceSynth(std::move(synth), stretch)) SoundFontBank::leave(std::move(former));
    freeRetired();
    return kNoError;
}

double SoundFontInstrument::tailSeconds() const {
    return _state.hasEffects() ? kReverbSeconds : kReleaseSeconds;
}

void SoundFontInstrument::setParameter(std::size_t index, float value) noexcept {
    if (index < kSoundFontParameterCount) _state.setParameter(static_cast<SoundFontParameter>(index), value);
}

std::optional<float> SoundFontInstrument::parameterValue(std::size_t index) const noexcept {
    return index < kSoundFontParameterCount ? _state.parameter(static_cast<SoundFontParameter>(index)) : 0;
}

RenderResult SoundFontInstrument::render(std::span<const TimedMIDI> events, float* left, float* right,
                                         std::uint32_t frames) noexcept {
    const RealtimeScope scope;
    _blocks.fetch_add(1, std::memory_order_relaxed);
    if (_renderer.synth() == nullptr) return {events.size(), true};
    takeNextSynth();
    if (_mustSilence.load(std::memory_order_relaxed) && _mustSilence.exchange(false, std::memory_order_acquire))
        _renderer.endSound();
    _state.sendIfChanged(*_renderer.synth());
    _renderer.synth()->bank().endLeftVoices();
    return _renderer.render(events, left, right, frames);
}

void SoundFontInstrument::takeNextSynth() noexcept {
    if (_next.load(std::memory_order_relaxed) == nullptr) return;
    std::unique_ptr<SoundFontSynth> next(_next.exchange(nullptr, std::memory_order_acquire));
    if (next == nullptr) return;
    _state.sendTo(*next);
    auto former = _renderer.replaceSynth(std::move(next), _renderer.stretch());
    former->endVoices();
    _retired.push(std::move(former));
}

OSStatus SoundFontInstrument::loadBank(const std::filesystem::path& file) {
    Error error;
    auto bank = SoundFontBank::load(file, error);
    if (bank == nullptr) {
        Log::write("SoundFont: [%@] %@", {"loadBank", error.description});
        return kAudioUnitErr_InvalidFile;
    }
    const OSStatus status = exchangeSynth(std::move(bank), polyphony());
    if (status == kNoError) awaitRetirement();
    return status;
}

OSStatus SoundFontInstrument::setPolyphony(int polyphony) {
    if (polyphony < SoundFontSynth::kLeastPolyphony || polyphony > SoundFontSynth::kMostPolyphony)
        return kAudioUnitErr_InvalidPropertyValue;
    const OSStatus status = exchangeSynth(bank(), polyphony);
    if (status == kNoError) awaitRetirement();
    return status;
}

int SoundFontInstrument::polyphony() const {
    const std::lock_guard lock(_mutex);
    return _polyphony;
}

OSStatus SoundFontInstrument::exchangeSynth(std::shared_ptr<SoundFontBank> bank, int polyphony) {
    const std::lock_guard lock(_mutex);
    if (bank == _bank && polyphony == _polyphony) return kNoError;
    if (_synthRate > 0) {
        auto synth = std::make_unique<SoundFontSynth>(bank, _synthRate, polyphony);
        if (!synth->isValid()) return kAudioUnitErr_FailedInitialization;
        const std::unique_ptr<SoundFontSynth> untaken(_next.exchange(synth.release(), std::memory_order_acq_rel));
    }
    _bank = std::move(bank);
    _polyphony = polyphony;
    return kNoError;
}

// Fonts are large: the old one shall not stay until somebody comes by again. While nothing is rendered it has to.
void SoundFontInstrument::awaitRetirement() {
    constexpr int kMostWaits = 60;
    const std::uint32_t blocks = _blocks.load(std::memory_order_relaxed);
    for (int wait = 0; wait < kMostWaits && _next.load(std::memory_order_relaxed) != nullptr; ++wait)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const bool isRendering = _blocks.load(std::memory_order_relaxed) != blocks;
    if (isRendering) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    freeRetired();
}

void SoundFontInstrument::freeRetired() {
    std::unique_ptr<SoundFontSynth> synth = _retired.takeAll();
    while (synth != nullptr) {
        std::unique_ptr<SoundFontSynth> next = std::move(synth->following);
        SoundFontBank::leave(std::move(synth));
        synth = std::move(next);
    }
}

std::shared_ptr<SoundFontBank> SoundFontInstrument::bank() const {
    const std::lock_guard lock(_mutex);
    return _bank;
}

SoundFontArchive SoundFontInstrument::archive() const {
    SoundFontArchive archive{.bank = bank()->path(),
                             .presetName = presetName(presentPreset()),
                             .channels = _state.settings(),
                             .parameters = {},
                             .renderQuality = _state.renderQuality(),
                             .polyphony = polyphony()};
    for (std::size_t i = 0; i < archive.parameters.size(); ++i) archive.parameters[i] = *parameterValue(i);
    return archive;
}

OSStatus SoundFontInstrument::restore(const SoundFontArchive& archive) {
    if (archive.bank != bank()->path()) {
        if (const OSStatus status = loadBank(archive.bank); status != kNoError) return status;
    }
    if (const OSStatus status = setPolyphony(archive.polyphony); status != kNoError) return status;
    for (std::size_t i = 0; i < archive.parameters.size(); ++i) setParameter(i, archive.parameters[i]);
    _state.setRenderQuality(archive.renderQuality);
    _state.setSettings(archive.channels);
    return kNoError;
}

OSStatus SoundFontInstrument::selectPreset(std::int32_t number) {
    const auto shared = bank();
    const SoundFontBank::Preset* preset = shared->preset(number);
    if (preset == nullptr) return kAudioUnitErr_InvalidPropertyValue;
    const bool isDrumKit = preset->bank == 128;
    for (int channel = 0; channel < SoundFontSynth::kChannels; ++channel) {
        if ((channel == SoundFontSynth::kDrumChannel) == isDrumKit)
            _state.selectPreset(channel, preset->bank, preset->program);
    }
    _state.askToSend();
    return kNoError;
}

OSStatus SoundFontInstrument::selectChannelPreset(int channel, std::int32_t number) {
    const auto shared = bank();
    const SoundFontBank::Preset* preset = shared->preset(number);
    if (preset == nullptr) return kAudioUnitErr_InvalidPropertyValue;
    _state.selectPreset(channel, preset->bank, preset->program);
    _state.askToSend();
    return kNoError;
}

std::string SoundFontInstrument::presetName(std::int32_t number) const {
    const auto shared = bank();
    const SoundFontBank::Preset* preset = shared->preset(number);
    return preset == nullptr ? std::string() : preset->name;
}

PropertyReference SoundFontInstrument::presetNameReference(std::int32_t number) {
    const PropertyReference name = retainProperty(PropertyList{presetName(number)});
    const std::lock_guard lock(_mutex);
    releaseProperty(std::exchange(_presetName, name));
    return name;
}

}  // namespace zelvane

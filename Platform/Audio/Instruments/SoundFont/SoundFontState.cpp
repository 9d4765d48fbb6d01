// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/SoundFont/SoundFontState.h"

#include <algorithm>

namespace zelvane {

namespace {

constexpr auto kRelaxed = std::memory_order_relaxed;
constexpr int kBankSelect = 0;
constexpr int kDataEntry = 6;
constexpr int kDataEntryFine = 38;
constexpr int kPortamentoControl = 84;
constexpr int kUnregisteredFine = 98;
constexpr int kUnregistered = 99;
constexpr int kRegisteredFine = 100;
constexpr int kRegistered = 101;
constexpr int kFirstModeMessage = 120;

/// Those that do something other than stand at a value, and those sent in an order of their own.
constexpr bool isPlain(int controller) {
    return controller != kBankSelect && controller != kDataEntry && controller != kDataEntryFine &&
           controller != kPortamentoControl && (controller < 96 || controller > kRegistered) &&
           controller < kFirstModeMessage;
}

/// Those that belong to an instrument's settings.
constexpr bool isKept(std::size_t controller) {
    const bool isPedal = controller >= 64 && controller <= 69;
    return isPlain(static_cast<int>(controller)) && !isPedal;
}

int interpolationPoints(std::uint32_t quality) {
    constexpr std::array kPoints{0, 1, 4, 7};
    return kPoints[std::min<std::size_t>(quality / 32, kPoints.size() - 1)];
}

}  // namespace

SoundFontState::SoundFontState(const std::array<std::uint8_t, 128>& defaultControllers) {
    for (Channel& channel : _channels)
        for (std::size_t i = 0; i < defaultControllers.size(); ++i) channel.controllers[i] = defaultControllers[i];
    channel(SoundFontSynth::kDrumChannel).bank = 128;
    channel(SoundFontSynth::kDrumChannel).playing = 128;
    for (std::size_t i = 0; i < kSoundFontParameterCount; ++i) _parameters[i] = soundFontParameters()[i].defaultValue;
}

void SoundFontState::play(const TimedMIDI& message, SoundFontSynth& synth) noexcept {
    const int number = message.status & 0x0F;
    const int data1 = message.data1;
    const int data2 = std::min<int>(message.data2, 127);
    if (data1 > 127) return;
    switch (message.status & 0xF0) {
        case 0x80:
            return synth.noteOff(number, data1);
        case 0x90:
            return data2 > 0 ? synth.noteOn(number, data1, data2) : synth.noteOff(number, data1);
        case 0xA0:
            return synth.keyPressure(number, data1, data2);
        case 0xB0:
            return playController(number, data1, data2, synth);
        case 0xC0:
            channel(number).program.store(static_cast<std::uint8_t>(data1), kRelaxed);
            channel(number).playing.store(channel(number).bank.load(kRelaxed), kRelaxed);
            return synth.program(number, data1);
        case 0xD0:
            channel(number).pressure.store(static_cast<std::uint8_t>(data1), kRelaxed);
            return synth.channelPressure(number, data1);
        case 0xE0:
            channel(number).bend.store(static_cast<std::uint16_t>(data1 | data2 << 7), kRelaxed);
            return synth.bend(number, data1 | data2 << 7);
        default:
            return;
    }
}

void SoundFontState::playController(int number, int controller, int value, SoundFontSynth& synth) noexcept {
    Channel& state = channel(number);
    switch (controller) {
        case 121:
            return resetControllers(number, synth);
        case 122:
            return;  // there is no keyboard to disconnect
        case 124:
        case 125:
            return synth.allNotesOff(number);  // all that is left of omni mode when each channel is its own
        case 126:
        case 127:
            state.isMono.store(controller == 126, kRelaxed);
            return synth.setMono(number, controller == 126);
        default:
            break;
    }
    synth.controller(number, controller, value);
    if (controller >= kFirstModeMessage) return;
    state.controllers[static_cast<std::size_t>(controller)].store(static_cast<std::uint8_t>(value), kRelaxed);
    if (controller == kBankSelect && number != SoundFontSynth::kDrumChannel)
        state.bank.store(static_cast<std::uint16_t>(value), kRelaxed);
    if (controller >= kUnregisteredFine && controller <= kRegistered)
        state.isRegistered.store(controller >= kRegisteredFine, kRelaxed);
    if (controller == kDataEntry || controller == kDataEntryFine) readRegistered(number, synth);
}

void SoundFontState::readRegistered(int number, SoundFontSynth& synth) noexcept {
    Channel& state = channel(number);
    state.bendRange.store(static_cast<std::uint8_t>(synth.bendRange(number)), kRelaxed);
    state.fineTune.store(static_cast<std::int16_t>(synth.fineTune(number)), kRelaxed);
    state.coarseTune.store(static_cast<std::int16_t>(synth.coarseTune(number)), kRelaxed);
}

void SoundFontState::resetControllers(int number, SoundFontSynth& synth) noexcept {
    Channel& state = channel(number);
    synth.resetControllers(number);
    for (int i = 0; i < kFirstModeMessage; ++i)
        state.controllers[static_cast<std::size_t>(i)].store(
            static_cast<std::uint8_t>(synth.controllerValue(number, i)), kRelaxed);
    state.pressure.store(0, kRelaxed);
    synth.setFineTune(number, state.fineTune.load(kRelaxed));
    synth.setCoarseTune(number, state.coarseTune.load(kRelaxed));
    synth.bend(number, state.bend.load(kRelaxed));
}

void SoundFontState::sendIfChanged(SoundFontSynth& synth) noexcept {
    if (_isChanged.load(kRelaxed) && _isChanged.exchange(false, std::memory_order_acquire)) sendTo(synth);
}

void SoundFontState::sendTo(SoundFontSynth& synth) noexcept {
    for (int number = 0; number < SoundFontSynth::kChannels; ++number) sendChannel(number, synth);
    _changedParameters.store(kAllBits, kRelaxed);
}

void SoundFontState::sendChannel(int number, SoundFontSynth& synth) noexcept {
    const Channel& state = channel(number);
    sendProgram(state, number, synth);
    sendControllers(state, number, synth);
    synth.setMono(number, state.isMono.load(kRelaxed));
    synth.setBendRange(number, state.bendRange.load(kRelaxed));
    synth.setFineTune(number, state.fineTune.load(kRelaxed));
    synth.setCoarseTune(number, state.coarseTune.load(kRelaxed));
    synth.channelPressure(number, state.pressure.load(kRelaxed));
    synth.bend(number, state.bend.load(kRelaxed));
}

void SoundFontState::sendProgram(const Channel& channel, int number, SoundFontSynth& synth) noexcept {
    synth.bank(number, channel.playing.load(kRelaxed));
    synth.program(number, channel.program.load(kRelaxed));
    synth.bank(number, channel.bank.load(kRelaxed));
}

void SoundFontState::sendControllers(const Channel& channel, int number, SoundFontSynth& synth) noexcept {
    const auto send = [&](int controller) {
        synth.controller(number, controller, channel.controllers[static_cast<std::size_t>(controller)].load(kRelaxed));
    };
    for (int i = 0; i < kFirstModeMessage; ++i) {
        const int value = channel.controllers[static_cast<std::size_t>(i)].load(kRelaxed);
        if (isPlain(i) && synth.controllerValue(number, i) != value) synth.controller(number, i, value);
    }
    // What was selected last is what data entries go to.
    const bool isRegistered = channel.isRegistered.load(kRelaxed);
    for (const int controller : isRegistered
                                    ? std::array{kUnregistered, kUnregisteredFine, kRegistered, kRegisteredFine}
                                    : std::array{kRegistered, kRegisteredFine, kUnregistered, kUnregisteredFine})
        send(controller);
}

void SoundFontState::sendParameters(SoundFontSynth& synth) noexcept {
    if (_changedParameters.load(kRelaxed) == 0) return;
    const std::uint32_t changed = _changedParameters.exchange(0, std::memory_order_acquire);
    SoundFontParameterValues values{};
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = _parameters[i].load(kRelaxed);
    applyParameters(changed, values, synth);
    if (changed & kQualityBit) synth.setInterpolation(interpolationPoints(renderQuality()));
}

void SoundFontState::setParameter(SoundFontParameter parameter, float value) noexcept {
    const auto index = static_cast<std::size_t>(parameter);
    _parameters[index].store(acceptableValue(soundFontParameters()[index], value), kRelaxed);
    _changedParameters.fetch_or(1U << index, std::memory_order_release);
}

float SoundFontState::parameter(SoundFontParameter parameter) const noexcept {
    return _parameters[static_cast<std::size_t>(parameter)].load(kRelaxed);
}

bool SoundFontState::hasEffects() const noexcept {
    return parameter(SoundFontParameter::reverbOn) > 0.5F || parameter(SoundFontParameter::chorusOn) > 0.5F;
}

void SoundFontState::setRenderQuality(std::uint32_t quality) noexcept {
    _renderQuality.store(quality, kRelaxed);
    _changedParameters.fetch_or(kQualityBit, std::memory_order_release);
}

SoundFontSettings SoundFontState::settings() const {
    SoundFontSettings settings;
    for (std::size_t i = 0; i < settings.size(); ++i) {
        const Channel& from = _channels[i];
        SoundFontChannelSettings& to = settings[i];
        to.bank = from.playing.load(kRelaxed);
        to.program = from.program.load(kRelaxed);
        to.bendRange = from.bendRange.load(kRelaxed);
        to.fineTune = from.fineTune.load(kRelaxed);
        to.coarseTune = from.coarseTune.load(kRelaxed);
        to.isMono = from.isMono.load(kRelaxed);
        for (std::size_t c = 0; c < to.controllers.size(); ++c)
            to.controllers[c] = isKept(c) ? from.controllers[c].load(kRelaxed) : std::uint8_t{0};
    }
    return settings;
}

void SoundFontState::setSettings(const SoundFontSettings& settings) {
    for (std::size_t i = 0; i < settings.size(); ++i) {
        const SoundFontChannelSettings& from = settings[i];
        Channel& to = _channels[i];
        selectPreset(static_cast<int>(i), from.bank, from.program);
        to.bendRange.store(static_cast<std::uint8_t>(from.bendRange), kRelaxed);
        to.fineTune.store(static_cast<std::int16_t>(from.fineTune), kRelaxed);
        to.coarseTune.store(static_cast<std::int16_t>(from.coarseTune), kRelaxed);
        to.isMono.store(from.isMono, kRelaxed);
        for (std::size_t c = 0; c < from.controllers.size(); ++c)
            if (isKept(c)) to.controllers[c].store(from.controllers[c], kRelaxed);
    }
    askToSend();
}

std::int32_t SoundFontState::preset(int channel) const {
    const Channel& state = _channels[static_cast<std::size_t>(channel)];
    return state.playing.load(kRelaxed) * 128 + state.program.load(kRelaxed);
}

void SoundFontState::selectPreset(int number, int bank, int program) {
    Channel& state = channel(number);
    state.bank.store(static_cast<std::uint16_t>(bank), kRelaxed);
    state.playing.store(static_cast<std::uint16_t>(bank), kRelaxed);
    state.program.store(static_cast<std::uint8_t>(program), kRelaxed);
}

}  // namespace zelvane

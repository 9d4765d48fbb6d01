// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/MidiMemory.h"

#include <algorithm>
#include <cmath>

namespace zelvane {

namespace {

constexpr double kExpectedCents = 3681.0 / 8192 * 200;  // of an instrument that bends by two semitones
constexpr double kLeastCents = 1;                       // less is no bend, only an error of the measurement
constexpr double kMeasuringError = 0.2;

double factorFor(std::optional<double> bendCents) {
    if (!bendCents || *bendCents < kLeastCents || std::fabs(*bendCents - kExpectedCents) < kMeasuringError) return 1;
    return kExpectedCents / *bendCents;
}

}  // namespace

MidiMemory::MidiMemory(std::optional<double> bendCents) : _bendFactor(factorFor(bendCents)), _channels{} {
    for (Channel& channel : _channels) channel.controllers.fill(kUnknown);
}

TimedMIDI MidiMemory::corrected(TimedMIDI message) const noexcept {
    if ((message.status & 0xF0) != 0xE0 || _bendFactor == 1) return message;
    const int bend = (message.data2 << 7 | message.data1) - kCentre;
    const auto scaled =
        static_cast<unsigned>(std::clamp(kCentre + static_cast<int>(std::lround(bend * _bendFactor)), 0, 16383));
    message.data1 = static_cast<std::uint8_t>(scaled & 127U);
    message.data2 = static_cast<std::uint8_t>(scaled >> 7U);
    return message;
}

void MidiMemory::remember(const TimedMIDI& message) noexcept {
    Channel& channel = _channels[message.status & 0x0FU];
    channel.isUsed = true;
    switch (message.status & 0xF0) {
        case 0x80:
            return setHeld(channel, message.data1, false);
        case 0x90:
            return setHeld(channel, message.data1, message.data2 > 0);
        case 0xB0:
            return rememberController(channel, message.data1, message.data2);
        case 0xC0:
            channel.program = message.data1;
            return;
        case 0xE0:
            channel.bend = message.data2 << 7 | message.data1;
            return;
        default:
            return;
    }
}

// Data entry belongs to a parameter that was chosen before it, so it can't be told again alone.
void MidiMemory::rememberController(Channel& channel, std::uint8_t number, std::uint8_t value) noexcept {
    constexpr std::array<std::uint8_t, 4> kDataEntry{6, 38, 96, 97};
    constexpr std::uint8_t kResetControllers = 121;
    constexpr std::array<std::uint8_t, 5> kReset{1, 11, 64, 66, 67};
    if (number < channel.controllers.size()) {
        if (std::find(kDataEntry.begin(), kDataEntry.end(), number) == kDataEntry.end())
            channel.controllers[number] = value;
    } else if (number == kResetControllers) {
        for (const std::uint8_t controller : kReset) channel.controllers[controller] = kUnknown;
    } else if (number == 120 || number >= 123) {
        _heldNotes -= static_cast<int>(channel.notes.count());
        channel.notes.reset();
    }
}

void MidiMemory::setHeld(Channel& channel, std::uint8_t key, bool isHeld) noexcept {
    if (key > 127 || channel.notes[key] == isHeld) return;
    channel.notes[key] = isHeld;
    _heldNotes += isHeld ? 1 : -1;
}

bool MidiMemory::mayUndoBends(const TimedMIDI& message) noexcept {
    const int kind = message.status & 0xF0;
    return kind == 0xC0 || (kind == 0xB0 && message.data1 >= 120);
}

}  // namespace zelvane

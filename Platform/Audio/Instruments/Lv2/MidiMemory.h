// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/Instrument.h"

#include <array>
#include <bitset>
#include <cstdint>
#include <optional>

namespace zelvane {

/// What MIDI messages have told an instrument so far: to tell it again when it has forgotten, and to end the notes it
/// plays. It also sees to it that bends of instruments with another range than two semitones come out as they are
/// meant. Audio thread, or control threads while nothing is rendered; real-time safe.
class MidiMemory {
  public:
    /// How far a bend of 3681 of 8191 takes the instrument, in cents; none or 0 when that is not known or nowhere.
    explicit MidiMemory(std::optional<double> bendCents);

    /// Passes a message on to `send`, corrected, and after one that may undo bends the channel's bend.
    template <typename Send>
    void pass(const TimedMIDI& message, const Send& send) {
        send(corrected(message));
        remember(message);
        if (mayUndoBends(message)) sendBend(message.status & 0x0FU, message.offset, send);
    }

    /// All bends.
    template <typename Send>
    void sendBends(const Send& send) const {
        for (std::uint8_t channel = 0; channel < kChannels; ++channel) sendBend(channel, 0, send);
    }

    /// All that stands: programs, controllers and bends.
    template <typename Send>
    void sendAll(const Send& send) const;

    /// Ends all notes, their releases too as far as the instrument can. Pedals are lifted for it; `sendPedals` is to
    /// follow, not in the same run, of which some instruments know only the last value.
    template <typename Send>
    void endNotes(const Send& send);
    template <typename Send>
    void sendPedals(const Send& send) const;

    bool hasHeldNotes() const noexcept { return _heldNotes > 0; }

  private:
    static constexpr std::uint8_t kChannels = 16;
    static constexpr std::uint8_t kUnknown = 0xFF;
    static constexpr std::uint8_t kPedal = 64;
    static constexpr int kCentre = 8192;

    struct Channel {
        std::array<std::uint8_t, 120> controllers;
        std::bitset<128> notes;
        std::uint8_t program = kUnknown;
        int bend = kCentre;
        bool isUsed = false;
    };

    TimedMIDI corrected(TimedMIDI message) const noexcept;
    void remember(const TimedMIDI& message) noexcept;
    void rememberController(Channel& channel, std::uint8_t number, std::uint8_t value) noexcept;
    void setHeld(Channel& channel, std::uint8_t key, bool isHeld) noexcept;
    static bool hasPedal(const Channel& channel) noexcept {
        return channel.controllers[kPedal] != kUnknown && channel.controllers[kPedal] > 0;
    }
    static bool mayUndoBends(const TimedMIDI& message) noexcept;
    static TimedMIDI message(unsigned kind, std::uint8_t channel, unsigned data1, unsigned data2) noexcept {
        return {0, static_cast<std::uint8_t>(kind | channel), static_cast<std::uint8_t>(data1),
                static_cast<std::uint8_t>(data2)};
    }

    template <typename Send>
    void sendBend(unsigned channel, std::uint32_t offset, const Send& send) const {
        const int bend = _channels[channel].bend;
        if (!_channels[channel].isUsed) return;
        TimedMIDI again = message(0xE0, static_cast<std::uint8_t>(channel), static_cast<unsigned>(bend) & 127U,
                                  static_cast<unsigned>(bend) >> 7U);
        again.offset = offset;
        send(corrected(again));
    }

    const double _bendFactor;
    std::array<Channel, kChannels> _channels;
    int _heldNotes = 0;
};

template <typename Send>
void MidiMemory::sendAll(const Send& send) const {
    for (std::uint8_t number = 0; number < kChannels; ++number) {
        const Channel& channel = _channels[number];
        const auto sendController = [&](unsigned controller) {
            const std::uint8_t value = channel.controllers[controller];
            if (value != kUnknown) send(message(0xB0, number, controller, value));
        };
        sendController(0);
        sendController(32);
        if (channel.program != kUnknown) send(message(0xC0, number, channel.program, 0));
        for (unsigned controller = 1; controller < channel.controllers.size(); ++controller)
            if (controller != 32) sendController(controller);
    }
    sendBends(send);
}

template <typename Send>
void MidiMemory::endNotes(const Send& send) {
    for (std::uint8_t number = 0; number < kChannels; ++number) {
        Channel& channel = _channels[number];
        if (!channel.isUsed) continue;
        if (hasPedal(channel)) send(message(0xB0, number, kPedal, 0));
        for (unsigned key = 0; key < channel.notes.size(); ++key)
            if (channel.notes[key]) send(message(0x80, number, key, 64));
        channel.notes.reset();
        send(message(0xB0, number, 120, 0));
        send(message(0xB0, number, 123, 0));
        sendBend(number, 0, send);
    }
    _heldNotes = 0;
}

template <typename Send>
void MidiMemory::sendPedals(const Send& send) const {
    for (std::uint8_t number = 0; number < kChannels; ++number)
        if (hasPedal(_channels[number])) send(message(0xB0, number, kPedal, _channels[number].controllers[kPedal]));
}

}  // namespace zelvane

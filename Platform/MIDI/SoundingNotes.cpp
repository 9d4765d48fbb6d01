// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/SoundingNotes.h"

namespace zelvane {

namespace {

constexpr std::uint8_t kNoteOff = 0x80;
constexpr std::uint8_t kNoteOn = 0x90;

bool isStatus(std::uint8_t byte) {
    return (byte & 0x80) != 0;
}

}  // namespace

void SoundingNotes::follow(std::span<const std::uint8_t> bytes) {
    for (std::size_t place = 0; place + 2 < bytes.size(); ++place) {
        if (!isStatus(bytes[place]) || isStatus(bytes[place + 1]) || isStatus(bytes[place + 2])) continue;
        followMessage(bytes[place], bytes[place + 1], bytes[place + 2]);
    }
}

// An "all notes off" ends none here: not every instrument obeys it, and a note-off too many does no harm.
void SoundingNotes::followMessage(std::uint8_t status, std::uint8_t key, std::uint8_t velocity) {
    const std::size_t channel = status & 0x0FU;
    const std::uint8_t kind = status & 0xF0U;
    if (kind == kNoteOn || kind == kNoteOff) _keys.set(channel * 128 + key, kind == kNoteOn && velocity > 0);
}

std::vector<std::uint8_t> SoundingNotes::takeEndings() {
    std::vector<std::uint8_t> endings;
    for (std::size_t place = 0; place < _keys.size(); ++place) {
        if (!_keys.test(place)) continue;
        endings.push_back(static_cast<std::uint8_t>(kNoteOff | (place / 128)));
        endings.push_back(static_cast<std::uint8_t>(place % 128));
        endings.push_back(64);
    }
    _keys.reset();
    return endings;
}

}  // namespace zelvane

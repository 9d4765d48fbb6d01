// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"

#include <cmath>

namespace zelvane {

namespace {

/// A pitch as the unit that plays it and the key pressed there.
struct RoutedNote {
    std::int32_t unit;
    std::uint32_t key;
};

RoutedNote route(std::uint32_t midic) {
    const auto rounded = static_cast<std::uint64_t>(std::round(midic / 10.0)) * 10;
    const auto tenths = static_cast<std::int32_t>(rounded % 100 / 10);
    return {10 - tenths, static_cast<std::uint32_t>(rounded / 100)};
}

}  // namespace

OSStatus AudioEngine::play(std::int32_t unit, std::uint32_t status, std::uint32_t data1, std::uint32_t data2) {
    const auto synthNode = microUnitSynthNode(unit);
    const OSStatus result = MusicDeviceMIDIEvent(synthNode ? synthNode->audioUnit() : nullptr, status, data1, data2, 0);
    // That its queue is full and stays so is the one reason for which a unit takes no event.
    if (result == kAudioUnitErr_Uninitialized) PlayerCounters::add(_counters.lostEvents);
    return result;
}

void AudioEngine::handleNoteOnMessage(std::uint32_t midic, int velocity, int channel) {
    const RoutedNote note = route(midic);
    const std::uint32_t status = static_cast<std::uint32_t>(channel) + 0x8F;
    const OSStatus result = play(note.unit, status, note.key, static_cast<std::uint32_t>(velocity));
    // With another channel than 1 to 16 it was another message.
    if (result == kNoError && (status & ~0xFU) == 0x90 && velocity != 0) PlayerCounters::add(_counters.notes);
}

void AudioEngine::handleNoteOffMessage(std::uint32_t midic, int channel) {
    const RoutedNote note = route(midic);
    play(note.unit, static_cast<std::uint32_t>(channel) + 0x7F, note.key, 0);
}

// Unit 1 is left out: what plays it alone keeps its own controllers and programs.
void AudioEngine::handleMIDIMessage(const std::uint8_t* bytes, int /*size*/) {
    for (std::int32_t unit = 10; unit > 1; --unit) play(unit, bytes[0], bytes[1], bytes[2]);
}

}  // namespace zelvane

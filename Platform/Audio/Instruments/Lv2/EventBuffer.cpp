// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/EventBuffer.h"

#include "Platform/Audio/Instruments/Lv2/Lv2Features.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Urids.h"

#include <algorithm>
#include <cstring>

namespace zelvane {

namespace {

constexpr std::uint32_t kMostBytes = 16U << 20;  // a description that asks for more is a mistake

std::size_t padded(std::size_t size) {
    return (size + 7) / 8 * 8;
}

}  // namespace

EventBuffer::EventBuffer(std::uint32_t leastBytes)
    : _words(padded(std::clamp(leastBytes, Lv2Features::kSequenceBytes, kMostBytes)) / sizeof(std::uint64_t)) {
    clear();
}

void EventBuffer::clear() noexcept {
    sequence() = {{sizeof(LV2_Atom_Sequence_Body), Lv2Urids::get().atomSequence}, {0, 0}};
}

bool EventBuffer::hasRoomFor(std::size_t bodySize) const noexcept {
    const std::size_t used = sizeof(LV2_Atom) + padded(sequence().atom.size);
    return bodySize < capacity() && used + sizeof(LV2_Atom_Event) + padded(bodySize) <= capacity();
}

bool EventBuffer::append(std::uint32_t frame, std::uint32_t type, std::span<const std::byte> body) noexcept {
    if (!hasRoomFor(body.size())) return false;
    auto* place = reinterpret_cast<std::byte*>(_words.data()) + sizeof(LV2_Atom) + padded(sequence().atom.size);
    LV2_Atom_Event event{};
    event.time.frames = frame;
    event.body = {static_cast<std::uint32_t>(body.size()), type};
    std::memcpy(place, &event, sizeof event);
    std::memcpy(place + sizeof event, body.data(), body.size());
    sequence().atom.size += static_cast<std::uint32_t>(sizeof event + padded(body.size()));
    return true;
}

void EventBuffer::offer() noexcept {
    sequence() = {{capacity() - static_cast<std::uint32_t>(sizeof(LV2_Atom)), Lv2Urids::get().atomChunk}, {0, 0}};
}

const LV2_Atom_Sequence* EventBuffer::written() const noexcept {
    const LV2_Atom& atom = sequence().atom;
    const bool isSequence = atom.type == Lv2Urids::get().atomSequence && atom.size >= sizeof(LV2_Atom_Sequence_Body) &&
                            atom.size <= capacity() - sizeof(LV2_Atom);
    return isSequence ? &sequence() : nullptr;
}

}  // namespace zelvane

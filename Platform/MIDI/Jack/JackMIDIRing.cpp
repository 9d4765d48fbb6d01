// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Jack/JackMIDIRing.h"

#include <cstring>
#include <limits>

namespace zelvane {

namespace {

/// In place of a size: nothing more up to the memory's end. An event is never split, so that it can be handed out as it
/// lies.
constexpr std::uint32_t kSkip = std::numeric_limits<std::uint32_t>::max();

}  // namespace

JackMIDIRing::JackMIDIRing(std::size_t capacity)
    : _capacity(capacity), _memory(std::make_unique<std::uint8_t[]>(capacity)) {}

bool JackMIDIRing::push(const Event& event) noexcept {
    std::size_t position = _written.load(std::memory_order_relaxed);
    const std::size_t needed = room(event.bytes.size());
    const std::size_t skipped = needed > toEnd(position) ? toEnd(position) : 0;
    if (position + skipped + needed - _read.load(std::memory_order_acquire) > _capacity) {
        _lost.fetch_add(1, std::memory_order_relaxed);
        return false;
    }
    if (skipped > 0) put(position, {kSkip, 0, 0}, {});
    position += skipped;
    const auto size = static_cast<std::uint32_t>(event.bytes.size());
    put(position, {size, event.number, event.time.time_since_epoch().count()}, event.bytes);
    _written.store(position + needed, std::memory_order_release);
    return true;
}

std::optional<JackMIDIRing::Event> JackMIDIRing::front() noexcept {
    std::size_t position = _read.load(std::memory_order_relaxed);
    if (position == _written.load(std::memory_order_acquire)) return {};
    if (headerAt(position).size == kSkip) {
        position += toEnd(position);
        _read.store(position, std::memory_order_release);
    }
    const Header header = headerAt(position);
    const std::uint8_t* bytes = _memory.get() + (position & (_capacity - 1)) + sizeof(Header);
    return Event{header.number, TimePoint(Duration(header.time)), {bytes, header.size}};
}

void JackMIDIRing::pop() noexcept {
    const std::size_t position = _read.load(std::memory_order_relaxed);
    _read.store(position + room(headerAt(position).size), std::memory_order_release);
}

JackMIDIRing::Header JackMIDIRing::headerAt(std::size_t position) const noexcept {
    Header header{};
    std::memcpy(&header, _memory.get() + (position & (_capacity - 1)), sizeof header);
    return header;
}

void JackMIDIRing::put(std::size_t position, const Header& header, std::span<const std::uint8_t> bytes) noexcept {
    std::uint8_t* place = _memory.get() + (position & (_capacity - 1));
    std::memcpy(place, &header, sizeof header);
    if (!bytes.empty()) std::memcpy(place + sizeof header, bytes.data(), bytes.size());
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/MIDI/MIDITypes.h"
#include "Sources/Zelvane/OSCDecoder/MidiMessageObject/MidiMessageObject.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace zelvane {

/// Cuts a list of packets into messages, each of which begins with a status byte, but for one that begins a list
/// without any. Real-time messages are left out wherever they stand; what is beyond 256 bytes of a message too.
class MIDIMessageCutter {
  public:
    /// Calls `send(bytes, arrival)` with each message and the time at which its first byte came.
    template <typename Send>
    void cut(MIDIPacketList packets, const Send& send) {
        for (const MIDIPacket& packet : packets) {
            for (const std::uint8_t byte : packet.data) take(byte, packet.timeStamp, send);
        }
        close(send);
    }

  private:
    static constexpr std::uint8_t kFirstStatus = 0x80;
    static constexpr std::uint8_t kFirstRealTime = 0xF8;

    template <typename Send>
    void take(std::uint8_t byte, TimePoint time, const Send& send) {
        if (byte >= kFirstRealTime) return;
        if (byte >= kFirstStatus) close(send);
        if (_count == 0) _arrival = time;
        if (_count < _bytes.size()) _bytes[_count++] = byte;
    }

    template <typename Send>
    void close(const Send& send) {
        if (_count > 0) send(std::span<const std::uint8_t>(_bytes.data(), _count), _arrival);
        _count = 0;
    }

    std::array<std::uint8_t, MidiMessageObject::kCapacity> _bytes{};
    std::size_t _count = 0;
    TimePoint _arrival{};
};

}  // namespace zelvane

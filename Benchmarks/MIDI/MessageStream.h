// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/MIDI/MIDITypes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zelvane {

/// Messages of three bytes that come within one span of time, each in a packet of its own, as a back end hands them on.
class MessageStream {
  public:
    /// Keys pressed and let go in turn, over four octaves.
    static MessageStream keys(std::size_t count) {
        return MessageStream(count, [](std::size_t index) {
            const auto status = static_cast<std::uint8_t>(index % 2 == 0 ? 0x90 : 0x80);
            return Message{status, static_cast<std::uint8_t>(36 + index / 2 % 48), 100};
        });
    }
    /// Bends of a wheel that moves.
    static MessageStream bends(std::size_t count) {
        return MessageStream(count, [](std::size_t index) {
            return Message{0xE0, 0, static_cast<std::uint8_t>(index % 128)};
        });
    }

    MessageStream(const MessageStream&) = delete;
    MessageStream& operator=(const MessageStream&) = delete;

    /// Puts the arrivals at even distances from that time on.
    void spread(TimePoint start, Duration span) {
        const Duration distance = span / static_cast<Duration::rep>(_packets.size());
        for (MIDIPacket& packet : _packets) {
            packet.timeStamp = start;
            start += distance;
        }
    }

    MIDIPacketList packets() const { return _packets; }

  private:
    using Message = std::array<std::uint8_t, 3>;

    template <typename Make>
    MessageStream(std::size_t count, Make make) : _messages(count) {
        for (std::size_t index = 0; index < count; ++index) {
            _messages[index] = make(index);
            _packets.push_back({TimePoint(), _messages[index]});
        }
    }

    std::vector<Message> _messages;
    std::vector<MIDIPacket> _packets;  // of the messages' bytes
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/MIDI/MIDIBackEnd.h"

#include <atomic>
#include <mutex>
#include <vector>

namespace zelvane {

/// Keeps what a back end hands on.
class MIDIEar final : public MIDIBackEndListener {
  public:
    using Bytes = std::vector<std::uint8_t>;
    struct Packet {
        MIDILineID line;
        TimePoint time;
        Bytes bytes;
        TimePoint cameAt;
    };

    void setupChanged() override { ++changes; }
    void received(MIDILineID line, MIDIPacketList packets) override {
        const TimePoint now = Clock::monotonic().now();
        const std::lock_guard lock(_mutex);
        for (const MIDIPacket& packet : packets) {
            _packets.push_back({line, packet.timeStamp, {packet.data.begin(), packet.data.end()}, now});
        }
    }

    std::vector<Packet> packets() const {
        const std::lock_guard lock(_mutex);
        return _packets;
    }
    std::vector<Bytes> messages(MIDILineID line) const {
        std::vector<Bytes> all;
        for (const Packet& packet : packets()) {
            if (packet.line == line) all.push_back(packet.bytes);
        }
        return all;
    }
    std::size_t count() const {
        const std::lock_guard lock(_mutex);
        return _packets.size();
    }
    void forget() {
        const std::lock_guard lock(_mutex);
        _packets.clear();
    }

    std::atomic<int> changes{0};

  private:
    mutable std::mutex _mutex;
    std::vector<Packet> _packets;
};

}  // namespace zelvane

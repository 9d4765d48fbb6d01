// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Log.h"
#include "Platform/MIDI/Alsa/AlsaBackEnd.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/LogLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

using Bytes = std::vector<std::uint8_t>;

/// What came over a line, and when it was handed on.
struct Heard {
    MIDILineID line = 0;
    TimePoint stamp;
    TimePoint handedOn;
    Bytes bytes;
};

/// Keeps all that a back end tells.
class BackEndRecorder : public MIDIBackEndListener {
  public:
    void setupChanged() override {
        const std::lock_guard lock(_mutex);
        ++_setupChanges;
    }

    void received(MIDILineID line, MIDIPacketList packets) override {
        const TimePoint now = Clock::monotonic().now();
        {
            const std::lock_guard lock(_mutex);
            for (const auto& packet : packets) {
                _bytes.insert(_bytes.end(), packet.data.begin(), packet.data.end());
                _packets.push_back({line, packet.timeStamp, now, _bytes.size()});
            }
        }
        const std::lock_guard hold(stop);
    }

    int setupChanges() const {
        const std::lock_guard lock(_mutex);
        return _setupChanges;
    }

    std::vector<Heard> all() const {
        const std::lock_guard lock(_mutex);
        std::vector<Heard> heard;
        auto begin = _bytes.begin();
        for (const Packet& packet : _packets) {
            const auto end = _bytes.begin() + static_cast<std::ptrdiff_t>(packet.end);
            heard.push_back({packet.line, packet.stamp, packet.handedOn, {begin, end}});
            begin = end;
        }
        return heard;
    }

    std::size_t count() const {
        const std::lock_guard lock(_mutex);
        return _packets.size();
    }

    std::vector<Bytes> messages() const {
        std::vector<Bytes> messages;
        for (const Heard& heard : all()) messages.push_back(heard.bytes);
        return messages;
    }

    void forget() {
        const std::lock_guard lock(_mutex);
        _packets.clear();
        _bytes.clear();
    }

    /// Locked by a test that wants the reader to stand still once it has handed something on.
    std::mutex stop;

  private:
    struct Packet {
        MIDILineID line;
        TimePoint stamp;
        TimePoint handedOn;
        std::size_t end;  // of its bytes
    };

    mutable std::mutex _mutex;
    int _setupChanges = 0;
    std::vector<Packet> _packets;
    Bytes _bytes;  // of all packets: a fast stream leaves no time for an allocation each
};

/// An open back end and what it tells.
class AlsaBackEndTest : public ::testing::Test {
  protected:
    static constexpr double kPatience = 20;  // seconds; nothing comes near it when all is well

    AlsaBackEndTest() {
        Error error;
        _isOpen = _backEnd->open(_recorder, error);
        EXPECT_TRUE(_isOpen) << error.description;
    }

    std::optional<MIDIPortDescription> find(MIDIDirection direction, const std::string& device,
                                            const std::string& name = {}) {
        for (const auto& port : _backEnd->ports()) {
            const bool isMeant = port.deviceName == device && (name.empty() || port.name == name);
            if (port.direction == direction && isMeant) return port;
        }
        return std::nullopt;
    }

    std::optional<MIDIPortDescription> source(const std::string& device) { return find(MIDIDirection::source, device); }

    /// Whether that many packets come in time.
    bool hears(std::size_t packets) {
        return waitFor([&] { return _recorder.count() >= packets; }, kPatience);
    }

    LogLines _log;
    BackEndRecorder _recorder;
    std::unique_ptr<AlsaBackEnd> _backEnd = std::make_unique<AlsaBackEnd>();
    bool _isOpen = false;
};

}  // namespace zelvane

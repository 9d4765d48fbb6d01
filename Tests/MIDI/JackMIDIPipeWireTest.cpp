// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Jack/JackMIDIBackEnd.h"
#include "Tests/Fakes/JackMIDIPeer.h"
#include "Tests/Fakes/JackServer.h"
#include "Tests/Fakes/PipeWireServer.h"
#include "Tests/MIDI/MIDIEar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

namespace zelvane {
namespace {

using Bytes = MIDIEar::Bytes;
using testing::IsEmpty;

class PipeWireMIDI : public testing::Test {
  protected:
    std::string address(MIDIDirection direction, const std::string& device) {
        for (const auto& each : backEnd->ports()) {
            if (each.direction == direction && each.deviceName == device) return each.address;
        }
        return {};
    }
    bool hears(MIDILineID line, const std::vector<Bytes>& messages) {
        return waitFor([&] { return ear.messages(line) == messages; });
    }
    static bool startPeer(std::optional<JackMIDIPeer>& peer, const std::vector<std::string>& inputs = {}) {
        return waitFor([&] { return peer.emplace("keys", std::vector<std::string>{"out"}, inputs).isOpen(); });
    }

    /// PipeWire shows a wire before it carries, and does not tell when it does.
    bool carries(MIDILineID line, JackMIDIPeer& peer) {
        const Bytes tick = {0xC0, 1};
        const auto isHeard = [&] {
            if (peer.isDone()) peer.play({{0, tick}});
            return !ear.messages(line).empty();
        };
        return waitFor(isHeard) && waitFor([&] { return peer.isDone(); });
    }

    /// What is played is heard over these lines at the latest in the last of some tries: a server that is held up loses
    /// some of it.
    bool playAndHear(JackMIDIPeer& peer, const std::vector<Bytes>& messages, const std::vector<MIDILineID>& lines) {
        std::vector<JackMIDIPeer::Planned> plan;
        for (const Bytes& message : messages) plan.push_back({static_cast<std::uint32_t>(plan.size()) * 17, message});
        const auto isHeard = [&](MIDILineID line) { return ear.messages(line) == messages; };
        const auto play = [&] {
            ear.forget();
            peer.play(plan);
            return waitFor([&] { return peer.isDone(); }) &&
                   waitFor([&] { return std::ranges::all_of(lines, isHeard); }, 1);
        };
        return waitFor(play, 60);
    }

    JackServer noJackServer;  // a name under which nobody answers
    PipeWireServer server;
    MIDIEar ear;
    Error error;
    std::unique_ptr<JackMIDIBackEnd> backEnd = std::make_unique<JackMIDIBackEnd>();
    const Bytes noteOn = {0x90, 60, 100};
    const Bytes noteOff = {0x80, 60, 64};
};

TEST_F(PipeWireMIDI, comesOverItsOwnJackLibrary) {
    ASSERT_TRUE(server.start());
    ASSERT_TRUE(backEnd->open(ear, error)) << error.description;
    ASSERT_TRUE(backEnd->createVirtual(1, MIDIDirection::destination, "Zelvane"));
    std::optional<JackMIDIPeer> peer;
    ASSERT_TRUE(startPeer(peer, {"in"}));
    ASSERT_TRUE(waitFor([&] { return peer->connect("keys:out", "Zelvane MIDI:Zelvane"); }));
    const auto isConnected = [&] { return backEnd->connectSource(2, address(MIDIDirection::source, "keys")); };
    ASSERT_TRUE(waitFor(isConnected));
    ASSERT_TRUE(waitFor([&] { return peer->connections("keys:out").size() == 2; }));

    ASSERT_TRUE(carries(1, *peer) && carries(2, *peer));
    std::vector<Bytes> played;
    for (std::uint32_t i = 0; i < 2000; ++i) {
        played.push_back({0xB0, static_cast<std::uint8_t>(i / 128), static_cast<std::uint8_t>(i % 128)});
    }
    played.push_back(noteOn);
    EXPECT_TRUE(playAndHear(*peer, played, {1, 2}));

    const MIDIPacket packet{TimePoint(), noteOn};
    const std::string destination = address(MIDIDirection::destination, "keys");
    EXPECT_TRUE(waitFor([&] { return backEnd->send(destination, {&packet, 1}) && !peer->heard().empty(); }));
    EXPECT_EQ(peer->heard()[0], noteOn);

    played.push_back(noteOff);
    ASSERT_TRUE(peer->disconnect("keys:out", "Zelvane MIDI:Zelvane"));
    EXPECT_TRUE(hears(1, played));
    peer.reset();
    EXPECT_TRUE(hears(2, played));
}

TEST_F(PipeWireMIDI, comesBackWithTheServer) {
    ASSERT_TRUE(server.start());
    ASSERT_TRUE(backEnd->open(ear, error)) << error.description;
    ASSERT_TRUE(backEnd->createVirtual(1, MIDIDirection::destination, "Zelvane"));
    for (int i = 0; i < 3; ++i) {
        std::optional<JackMIDIPeer> peer;
        ASSERT_TRUE(startPeer(peer)) << i;
        ASSERT_TRUE(waitFor([&] { return peer->connect("keys:out", "Zelvane MIDI:Zelvane"); })) << i;
        ASSERT_TRUE(waitFor([&] { return peer->connections("keys:out").size() == 1; }));
        ASSERT_TRUE(carries(1, *peer));
        ASSERT_TRUE(playAndHear(*peer, {noteOn}, {1})) << i;
        server.kill();
        ASSERT_TRUE(hears(1, {noteOn, noteOff})) << i;
        ASSERT_TRUE(waitFor([&] { return backEnd->ports().empty() && peer->isDead(); }));
        peer.reset();
        ASSERT_TRUE(server.start());
    }
}

}  // namespace
}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Jack/JackBackEnd.h"
#include "Platform/MIDI/Jack/JackMIDIBackEnd.h"
#include "Tests/Fakes/JackMIDIPeer.h"
#include "Tests/Fakes/JackServer.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/RealtimeGuard.h"
#include "Tests/Fakes/RecordingRenderer.h"
#include "Tests/MIDI/MIDIEar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <set>

namespace zelvane {
namespace {

using Bytes = MIDIEar::Bytes;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

const Bytes kNoteOn = {0x90, 60, 100};
const Bytes kNoteOff = {0x80, 60, 64};

class JackMIDI : public testing::Test {
  protected:
    bool open() { return server.start() && backEnd->open(ear, error); }
    MIDIPortDescription port(MIDIDirection direction, const std::string& name) {
        for (const auto& each : backEnd->ports()) {
            if (each.direction == direction && each.name == name) return each;
        }
        return {};
    }
    std::string address(MIDIDirection direction, const std::string& name) { return port(direction, name).address; }
    bool connect(MIDILineID line, const std::string& source) {
        return backEnd->connectSource(line, address(MIDIDirection::source, source));
    }
    bool hears(MIDILineID line, const std::vector<Bytes>& messages) {
        return waitFor([&] { return ear.messages(line) == messages; }, 5);
    }
    /// The note sounds over a line.
    bool startNote(JackMIDIPeer& peer, MIDILineID line, std::size_t output = 0) {
        peer.play({{0, kNoteOn}}, output);
        return hears(line, {kNoteOn});
    }

    JackServer server;
    MIDIEar ear;
    Error error;
    std::unique_ptr<JackMIDIBackEnd> backEnd = std::make_unique<JackMIDIBackEnd>();
};

TEST_F(JackMIDI, isQuietWithoutAServer) {
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    EXPECT_FALSE(backEnd->open(ear, error));
    EXPECT_EQ(testing::internal::GetCapturedStderr() + testing::internal::GetCapturedStdout(), "");
    EXPECT_FALSE(error.description.empty());
}

TEST_F(JackMIDI, stampsEachMessageWithItsFrame) {
    ASSERT_TRUE(open());
    JackMIDIPeer peer("keys", {"first", "second"});
    ASSERT_TRUE(peer.isOpen() && connect(1, "first") && connect(2, "second"));
    std::vector<JackMIDIPeer::Planned> plan;
    for (std::uint32_t i = 0; i < 3000; ++i) {
        const auto key = static_cast<std::uint8_t>(i % 128);
        // Uneven steps, some of none at all: several in one cycle, some at the same frame.
        plan.push_back({i * 17 - i % 3 * 17 + 5, {static_cast<std::uint8_t>(i % 2 == 0 ? 0x90 : 0x83), key, 100}});
        if (i % 10 == 0) plan.push_back({plan.back().frame, {0xF8}});
    }
    std::ranges::stable_sort(plan, {}, &JackMIDIPeer::Planned::frame);
    RealtimeGuard::reset();
    peer.play(plan, 1);
    ASSERT_TRUE(waitFor([&] { return peer.isDone(); }, 10));
    auto written = peer.written();
    std::erase_if(written, [](const auto& event) { return event.bytes.size() == 1; });
    ASSERT_TRUE(waitFor([&] { return ear.count() >= written.size(); }, 5));
    EXPECT_EQ(RealtimeGuard::violations().total(), 0U) << RealtimeGuard::firstOffender();
    const auto packets = ear.packets();
    ASSERT_EQ(packets.size(), written.size());
    double worst = 0;
    for (std::size_t i = 0; i < packets.size(); ++i) {
        ASSERT_EQ(packets[i].line, 2U);
        ASSERT_EQ(packets[i].bytes, written[i].bytes) << i;
        if (worst < 5 && std::abs(std::chrono::duration<double, std::micro>(packets[i].time - written[i].time).count())> 5) printf("DBG %zu %ld %ld cycle %lu\n", i, packets[i].time.time_since_epoch().count(), written[i].time.time_since_epoch().count(), written[i].cycle);
        worst = std::max(
            worst, std::abs(std::chrono::duration<double, std::micro>(packets[i].time - written[i].time).count()));
    }
    std::printf("%zu messages stamped, at most %.3f us off their frame\n", packets.size(), worst);
    EXPECT_LE(worst, 1.0);
}

TEST_F(JackMIDI, losesNothingAtTenThousandMessagesASecond) {
    ASSERT_TRUE(open());
    JackMIDIPeer peer("keys", {"out"});
    ASSERT_TRUE(peer.isOpen() && connect(1, "out"));
    std::vector<JackMIDIPeer::Planned> plan;
    for (std::uint32_t i = 0; i < 20000; ++i) {
        plan.push_back(
            {i * 24 / 5, {0xB0, static_cast<std::uint8_t>(i / 128 % 128), static_cast<std::uint8_t>(i % 128)}});
    }
    peer.play(plan);
    ASSERT_TRUE(waitFor([&] { return peer.isDone(); }, 20));
    const auto written = peer.written();
    waitFor([&] { return ear.count() >= written.size(); }, 1);
    const auto packets = ear.packets();
    // A server that is held up may leave out a cycle of ours, with all that was in it.
    std::set<std::uint64_t> lostCycles;
    std::size_t heard = 0;
    for (const auto& event : written) {
        const bool isHeard = heard < packets.size() && packets[heard].bytes == event.bytes;
        if (isHeard) {
            ++heard;
            ASSERT_FALSE(lostCycles.contains(event.cycle)) << "half of a cycle is lost";
        } else {
            lostCycles.insert(event.cycle);
        }
    }
    std::printf("%zu of %zu messages in 2 s, %zu cycles lost by the server, %lu xruns\n", heard, written.size(),
                lostCycles.size(), static_cast<unsigned long>(peer.xruns()));
    EXPECT_EQ(heard, packets.size());
    EXPECT_EQ(written.size(), plan.size());
    EXPECT_LE(lostCycles.size(), peer.xruns());
}

TEST_F(JackMIDI, handsOnWholeMessagesOnly) {
    ASSERT_TRUE(open());
    JackMIDIPeer peer("keys", {"out"});
    ASSERT_TRUE(peer.isOpen() && connect(1, "out"));
    Bytes dump(20000, 5);
    dump.front() = 0xF0;
    dump.back() = 0xF7;
    peer.play({{0, {0xFE}},
               {1, {0xF0, 1, 2}},
               {2, {0xFA}},
               {3, {3, 0xF7}},
               {4, {0x90, 60}},
               {5, {0xFF}},
               {6, {0xC0, 7}},
               {7, dump},
               {8, {1, 2, 3}},
               {9, kNoteOff}});
    EXPECT_TRUE(hears(1, {{0xF0, 1, 2, 3, 0xF7}, {0xFF}, {0xC0, 7}, dump, kNoteOff}));
}

TEST_F(JackMIDI, showsItsVirtualPorts) {
    ASSERT_TRUE(open());
    ASSERT_TRUE(backEnd->createVirtual(1, MIDIDirection::destination, "Zelvane"));
    ASSERT_TRUE(backEnd->createVirtual(2, MIDIDirection::source, "Zelvane"));
    EXPECT_THAT(backEnd->ports(), IsEmpty());
    JackMIDIPeer peer("keys", {"out"}, {"in"});
    ASSERT_TRUE(peer.connect("keys:out", "Zelvane MIDI:Zelvane"));
    ASSERT_TRUE(peer.connect("Zelvane MIDI:Zelvane 2", "keys:in"));
    peer.play({{0, kNoteOn}});
    EXPECT_TRUE(hears(1, {kNoteOn}));

    // Several messages in a packet, and one that goes on in the next.
    const Bytes first = {0x90, 60, 100, 0xF0, 1};
    const Bytes second = {2, 0xF7};
    const std::vector<MIDIPacket> list = {{TimePoint(), first}, {TimePoint(), second}};
    ASSERT_TRUE(waitFor([&] { return backEnd->emit(2, list) && peer.heard().size() >= 2; }, 5));
    EXPECT_EQ(peer.heard()[0], kNoteOn);
    EXPECT_EQ(peer.heard()[1], (Bytes{0xF0, 1, 2, 0xF7}));

    ASSERT_TRUE(backEnd->renameVirtual(1, "Other"));
    EXPECT_THAT(peer.connections("keys:out"), ElementsAre("Zelvane MIDI:Other"));
    backEnd->close(1);
    EXPECT_THAT(peer.connections("keys:out"), IsEmpty());
}

TEST_F(JackMIDI, sendsToOthersFromTheFirstMessageOn) {
    ASSERT_TRUE(open());
    auto peer = std::make_unique<JackMIDIPeer>("synth", std::vector<std::string>{}, std::vector<std::string>{"in"});
    const std::string synth = address(MIDIDirection::destination, "in");
    std::vector<Bytes> sent;
    for (std::uint8_t key = 0; key < 100; ++key) {
        sent.push_back({0x90, key, 1});
        const MIDIPacket packet{TimePoint(), sent.back()};
        ASSERT_TRUE(backEnd->send(synth, {&packet, 1}));
    }
    EXPECT_TRUE(waitFor([&] { return peer->heard() == sent; }, 5));
    const int before = ear.changes;
    peer.reset();
    ASSERT_TRUE(waitFor([&] { return ear.changes > before; }, 5));
    const MIDIPacket packet{TimePoint(), sent.back()};
    EXPECT_FALSE(backEnd->send(synth, {&packet, 1}));
}

TEST_F(JackMIDI, tellsOfWhatItCantSend) {
    LogLines log;
    ASSERT_TRUE(open());
    ASSERT_TRUE(backEnd->createVirtual(1, MIDIDirection::source, "Zelvane"));
    const std::vector<MIDIPacket> list(20000, {TimePoint(), kNoteOn});
    EXPECT_FALSE(backEnd->emit(1, list));
    EXPECT_TRUE(waitFor([&] { return !log.all().empty(); }, 5));
    EXPECT_THAT(log.all(), Contains(testing::HasSubstr("sent faster than JACK takes them")));
}

class JackMIDINotes : public JackMIDI {
  protected:
    void SetUp() override {
        ASSERT_TRUE(open());
        peer.emplace("keys", std::vector<std::string>{"first", "second"});
        ASSERT_TRUE(peer->isOpen() && connect(1, "first"));
        ASSERT_TRUE(backEnd->createVirtual(2, MIDIDirection::destination, "Zelvane"));
        ASSERT_TRUE(peer->connect("keys:first", "Zelvane MIDI:Zelvane"));
        ASSERT_TRUE(peer->connect("keys:second", "Zelvane MIDI:Zelvane"));
        peer->play({{0, kNoteOn}});
        ASSERT_TRUE(hears(1, {kNoteOn}) && hears(2, {kNoteOn}));
    }
    bool ends(MIDILineID line) {
        return hears(line, {kNoteOn, kNoteOff}) && ear.packets().back().time >= ear.packets().front().time;
    }

    std::optional<JackMIDIPeer> peer;
};

TEST_F(JackMIDINotes, endWithTheConnection) {
    ASSERT_TRUE(peer->disconnect("keys:first", "Zelvane MIDI:in 1"));
    EXPECT_TRUE(ends(1));
    // A virtual destination can't tell its senders apart: its notes last until all have gone.
    ASSERT_TRUE(peer->disconnect("keys:second", "Zelvane MIDI:Zelvane"));
    peer->play({{0, {0xB0, 1, 2}}});
    ASSERT_TRUE(hears(2, {kNoteOn, {0xB0, 1, 2}}));
    ASSERT_TRUE(peer->disconnect("keys:first", "Zelvane MIDI:Zelvane"));
    EXPECT_TRUE(hears(2, {kNoteOn, {0xB0, 1, 2}, kNoteOff}));
}

TEST_F(JackMIDINotes, endWithTheSender) {
    peer.reset();
    EXPECT_TRUE(ends(1) && ends(2));
}

TEST_F(JackMIDINotes, endWithTheLine) {
    backEnd->close(1);
    EXPECT_THAT(ear.messages(1), ElementsAre(kNoteOn, kNoteOff));
    backEnd->close(2);
    EXPECT_THAT(ear.messages(2), ElementsAre(kNoteOn, kNoteOff));
    peer->play({{0, kNoteOn}});
    ASSERT_TRUE(waitFor([&] { return peer->isDone(); }, 5));
    EXPECT_EQ(ear.count(), 4U);
}

TEST_F(JackMIDINotes, endWithTheServer) {
    server.kill();
    EXPECT_TRUE(ends(1) && ends(2));
    EXPECT_THAT(backEnd->ports(), IsEmpty());
    backEnd->close(1);
    backEnd->close(2);
    EXPECT_EQ(ear.count(), 4U);
}

TEST_F(JackMIDI, knowsPortsAgain) {
    ASSERT_TRUE(open());
    auto peer = std::make_unique<JackMIDIPeer>("keys", std::vector<std::string>{"out: 1"});
    const MIDIPortDescription first = port(MIDIDirection::source, "out: 1");
    EXPECT_EQ(first.deviceName, "keys");
    ASSERT_TRUE(backEnd->connectSource(1, first.address));
    const int before = ear.changes;
    peer.reset();
    peer = std::make_unique<JackMIDIPeer>("keys", std::vector<std::string>{"out: 1"});
    MIDIPortDescription second;
    const auto hasNewAddress = [&] {
        second = port(MIDIDirection::source, "out: 1");
        return ear.changes > before && second.address != first.address;
    };
    ASSERT_TRUE(waitFor(hasNewAddress, 5));
    EXPECT_EQ(second.key, first.key);
    EXPECT_FALSE(backEnd->connectSource(2, first.address));
    ASSERT_TRUE(backEnd->connectSource(3, second.address));
    EXPECT_TRUE(startNote(*peer, 3));
    EXPECT_THAT(ear.messages(1), IsEmpty());
}

TEST_F(JackMIDI, callsDevicesByTheirOwnNames) {
    ASSERT_TRUE(open());
    JackMIDIPeer system("system", {"midi_capture_1", "midi_capture_2"}, {}, "Keystation");
    JackMIDIPeer bridge("a2j", {"Piano [20] (capture): Piano MIDI 1", "Piano [24] (capture): Piano MIDI 1"});
    std::vector<std::vector<std::string>> seen;
    for (const auto& each : backEnd->ports()) seen.push_back({each.deviceName, each.name, each.key});
    EXPECT_THAT(seen, testing::UnorderedElementsAre(
                          ElementsAre("Keystation", "midi_capture_1", "jack:Keystation:midi_capture_1"),
                          ElementsAre("Keystation", "midi_capture_2", "jack:Keystation:midi_capture_2"),
                          ElementsAre("Piano", "Piano MIDI 1", "jack:Piano:Piano MIDI 1"),
                          ElementsAre("Piano", "Piano MIDI 1", "jack:Piano:Piano MIDI 1 #2")));
}

// Sound and MIDI have a client each at one server, and neither may keep the other from the next server.
TEST_F(JackMIDI, comesBackWithTheServerBesideTheSound) {
    ASSERT_TRUE(open());
    ASSERT_TRUE(backEnd->createVirtual(1, MIDIDirection::destination, "Zelvane"));
    RecordingRenderer renderer;
    JackBackEnd sound;
    std::set<std::string> addresses;
    double slowest = 0;
    for (int i = 0; i < 5; ++i) {
        std::unique_ptr<AudioStream> stream;
        const auto isPlaying = [&] {
            if (!stream) stream = sound.open({}, {}, error);
            return stream && stream->start(renderer);
        };
        ASSERT_TRUE(waitFor(isPlaying, 5)) << i;
        std::optional<JackMIDIPeer> peer;
        const auto isConnected = [&] {
            if (!peer || !peer->isOpen()) peer.emplace("keys", std::vector<std::string>{"out"});
            return peer->isOpen() && peer->connect("keys:out", "Zelvane MIDI:Zelvane");
        };
        const TimePoint started = Clock::monotonic().now();
        ASSERT_TRUE(waitFor(isConnected, 5)) << i;
        slowest = std::max(slowest, std::chrono::duration<double>(Clock::monotonic().now() - started).count());
        ear.forget();
        ASSERT_TRUE(startNote(*peer, 1)) << i;
        EXPECT_TRUE(addresses.insert(address(MIDIDirection::source, "out")).second);
        const int before = ear.changes;
        server.kill();
        ASSERT_TRUE(hears(1, {kNoteOn, kNoteOff})) << i;
        ASSERT_TRUE(waitFor([&] { return ear.changes > before && backEnd->ports().empty(); }, 5));
        ASSERT_TRUE(waitFor([&] { return peer->isDead() && stream->state() == AudioStreamState::lost; }, 5));
        peer.reset();
        stream.reset();
        ASSERT_TRUE(server.start());
    }
    std::printf("JACK server killed 5 times: our port back at most %.2f s after the sound\n", slowest);
}

}  // namespace
}  // namespace zelvane

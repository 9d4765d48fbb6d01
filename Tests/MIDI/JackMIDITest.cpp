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
#include <functional>
#include <optional>
#include <set>

namespace zelvane {
namespace {

using Bytes = MIDIEar::Bytes;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

const Bytes kNoteOn = {0x90, 60, 100};
const Bytes kNoteOff = {0x80, 60, 64};

double microseconds(Duration duration) {
    return std::abs(std::chrono::duration<double, std::micro>(duration).count());
}

/// Another one for each number below 2^18.
Bytes distinctMessage(std::uint32_t number) {
    const auto part = [number](std::uint32_t place) {
        return static_cast<std::uint8_t>(number >> (7 * place) & 0x7FU);
    };
    return {static_cast<std::uint8_t>(0xB0U | part(2)), part(1), part(0)};
}

class JackMIDI : public testing::Test {
  protected:
    bool open(unsigned period = 256) {
        EXPECT_TRUE(server.start(48000, period));
        EXPECT_TRUE(backEnd->open(ear, error)) << error.description;
        return !testing::Test::HasFailure();
    }
    MIDIPortDescription port(MIDIDirection direction, const std::string& name) {
        for (const auto& each : backEnd->ports()) {
            if (each.direction == direction && each.name == name) return each;
        }
        return {};
    }
    std::vector<std::string> keys() {
        std::vector<std::string> keys;
        for (const auto& each : backEnd->ports()) keys.push_back(each.key);
        return keys;
    }
    std::string address(MIDIDirection direction, const std::string& name) { return port(direction, name).address; }
    bool connect(MIDILineID line, const std::string& source) {
        return backEnd->connectSource(line, address(MIDIDirection::source, source));
    }
    bool hears(MIDILineID line, const std::vector<Bytes>& messages) {
        return waitFor([&] { return ear.messages(line) == messages; });
    }
    struct Try {
        bool isHeard;
        bool isDisturbed;  ///< The server was held up: it loses cycles, or lets one read what another still writes.
    };
    Try play(JackMIDIPeer& peer, const std::vector<JackMIDIPeer::Planned>& plan, const std::function<bool()>& isHeard,
             std::size_t output = 0) {
        ear.forget();
        peer.forget();
        const std::uint64_t xruns = peer.xruns();
        const auto isDisturbed = [&] { return peer.xruns() != xruns; };
        peer.play(plan, output);
        if (!waitFor([&] { return peer.isDone(); })) return {false, false};
        const bool wasHeard = waitFor(isHeard, 1) || (!isDisturbed() && waitFor(isHeard));
        if (isDisturbed()) std::printf("%lu xruns\n", static_cast<unsigned long>(peer.xruns() - xruns));
        return {wasHeard, isDisturbed()};
    }
    /// What is played is heard, at the latest when the server is not held up.
    bool playAndHear(JackMIDIPeer& peer, const std::vector<JackMIDIPeer::Planned>& plan,
                     const std::function<bool()>& isHeard) {
        Try last{false, true};
        for (int tries = 0; tries < 20 && !last.isHeard && last.isDisturbed; ++tries) last = play(peer, plan, isHeard);
        return last.isHeard;
    }
    /// Everything is heard, in a time in which the server is not held up. Each try is looked at.
    bool playUndisturbed(
        JackMIDIPeer& peer, const std::vector<JackMIDIPeer::Planned>& plan, std::size_t output = 0,
        const std::function<void()>& look = [] {}) {
        Try last{false, true};
        for (int tries = 0; tries < 20 && last.isDisturbed; ++tries) {
            last = play(
                peer, plan, [&] { return ear.count() >= plan.size(); }, output);
            look();
        }
        return last.isHeard && !last.isDisturbed;
    }
    /// The note sounds over these lines.
    bool startNote(JackMIDIPeer& peer, const std::vector<MIDILineID>& lines) {
        const auto isHeard = [&](MIDILineID line) { return ear.messages(line) == std::vector<Bytes>{kNoteOn}; };
        return playAndHear(peer, {{0, kNoteOn}}, [&] { return std::ranges::all_of(lines, isHeard); });
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
    ASSERT_TRUE(open(1024));
    JackMIDIPeer peer("keys", {"first", "second"});
    ASSERT_TRUE(peer.isOpen() && connect(1, "first") && connect(2, "second"));
    std::vector<JackMIDIPeer::Planned> plan;
    for (std::uint32_t i = 0; i < 3000; ++i) {
        const auto key = static_cast<std::uint8_t>(i % 128);
        // Uneven steps, some of none at all: several in one cycle, some at the same frame.
        plan.push_back({i * 17 - i % 3 * 17 + 5, {static_cast<std::uint8_t>(i % 2 == 0 ? 0x90 : 0x83), key, 100}});
    }
    std::ranges::stable_sort(plan, {}, &JackMIDIPeer::Planned::frame);
    RealtimeGuard::reset();
    ASSERT_TRUE(playUndisturbed(peer, plan, 1));
    EXPECT_EQ(RealtimeGuard::violations().total(), 0U) << RealtimeGuard::firstOffender();
    const auto written = peer.written();
    const auto packets = ear.packets();
    ASSERT_EQ(packets.size(), written.size());
    double worstInCycle = 0;
    double worst = 0;
    std::vector<double> late;
    for (std::size_t i = 0; i < packets.size(); ++i) {
        ASSERT_EQ(packets[i].line, 2U);
        ASSERT_EQ(packets[i].bytes, written[i].bytes) << i;
        const Duration offset = packets[i].time - written[i].time;
        worst = std::max(worst, microseconds(offset - (packets[0].time - written[0].time)));
        late.push_back(microseconds(packets[i].cameAt - packets[i].time));
        if (i == 0 || written[i].cycle != written[i - 1].cycle) continue;
        worstInCycle = std::max(worstInCycle, microseconds(offset - (packets[i - 1].time - written[i - 1].time)));
    }
    std::ranges::sort(late);
    std::printf(
        "%zu messages: stamps at most %.3f us off their frame in a cycle, %.1f us in all; came %.0f us from it\n",
        packets.size(), worstInCycle, worst, late[late.size() / 2]);
    EXPECT_LE(worstInCycle, 1.0);
    // JACK's clock runs by some millionths faster or slower than ours.
    EXPECT_LE(worst, 300);
    EXPECT_LE(late[late.size() / 2], 50000);
}

TEST_F(JackMIDI, losesNothingAtTenThousandMessagesASecond) {
    ASSERT_TRUE(open(1024));
    JackMIDIPeer peer("keys", {"out"});
    ASSERT_TRUE(peer.isOpen() && connect(1, "out"));
    std::vector<JackMIDIPeer::Planned> plan;
    for (std::uint32_t i = 0; i < 20000; ++i) plan.push_back({i * 24 / 5, distinctMessage(i)});
    const auto expectNothingTwice = [&] {
        const std::vector<Bytes> heard = ear.messages(1);
        EXPECT_EQ(std::set<Bytes>(heard.begin(), heard.end()).size(), heard.size());
    };
    ASSERT_TRUE(playUndisturbed(peer, plan, 0, expectNothingTwice));
    std::vector<Bytes> played;
    for (const auto& planned : plan) played.push_back(planned.bytes);
    EXPECT_EQ(ear.messages(1), played);
    backEnd->close(1);
    const std::size_t count = ear.count();
    peer.play({{0, kNoteOn}});
    ASSERT_TRUE(waitFor([&] { return peer.isDone(); }));
    EXPECT_EQ(ear.count(), count);
}

TEST_F(JackMIDI, handsOnWholeMessagesOnly) {
    ASSERT_TRUE(open());
    JackMIDIPeer peer("keys", {"out"});
    ASSERT_TRUE(peer.isOpen() && connect(1, "out"));
    Bytes dump(20000, 5);
    dump.front() = 0xF0;
    dump.back() = 0xF7;
    const std::vector<JackMIDIPeer::Planned> plan = {{0, {0xFE}},     {1, {0xF0, 1, 2}}, {2, {0xFA}},    {3, {3, 0xF7}},
                                                     {4, {0x90, 60}}, {5, {0xFF}},       {6, {0xC0, 7}}, {7, dump},
                                                     {8, {1, 2, 3}},  {9, kNoteOff}};
    const std::vector<Bytes> whole = {{0xF0, 1, 2, 3, 0xF7}, {0xFF}, {0xC0, 7}, dump, kNoteOff};
    EXPECT_TRUE(playAndHear(peer, plan, [&] { return ear.messages(1) == whole; }));
}

TEST_F(JackMIDI, showsItsVirtualPorts) {
    ASSERT_TRUE(open());
    ASSERT_TRUE(backEnd->createVirtual(1, MIDIDirection::destination, "Zelvane"));
    ASSERT_TRUE(backEnd->createVirtual(2, MIDIDirection::source, "Zelvane"));
    EXPECT_THAT(keys(), IsEmpty());
    JackMIDIPeer peer("keys", {"out"}, {"in"});
    ASSERT_TRUE(waitFor([&] { return peer.connect("keys:out", "Zelvane MIDI:Zelvane"); }));
    ASSERT_TRUE(waitFor([&] { return peer.connect("Zelvane MIDI:Zelvane 2", "keys:in"); }));
    EXPECT_TRUE(startNote(peer, {1}));

    // Several messages in a packet, and one that goes on in the next.
    const Bytes first = {0x90, 60, 100, 0xF0, 1};
    const Bytes second = {2, 0xF7};
    const std::vector<MIDIPacket> list = {{TimePoint(), first}, {TimePoint(), second}};
    ASSERT_TRUE(waitFor([&] { return backEnd->emit(2, list) && peer.heard().size() >= 2; }));
    EXPECT_EQ(peer.heard()[0], kNoteOn);
    EXPECT_EQ(peer.heard()[1], (Bytes{0xF0, 1, 2, 0xF7}));

    ASSERT_TRUE(backEnd->renameVirtual(1, "Other"));
    EXPECT_THAT(peer.connections("keys:out"), ElementsAre("Zelvane MIDI:Other"));
    backEnd->close(1);
    EXPECT_THAT(peer.connections("keys:out"), IsEmpty());
}

TEST_F(JackMIDI, sendsToOthersFromTheFirstMessageOn) {
    ASSERT_TRUE(open());
    std::optional<JackMIDIPeer> peer;
    std::string synth;
    std::vector<Bytes> sent;
    for (std::uint8_t key = 0; key < 100; ++key) sent.push_back({0x90, key, 1});
    // Another synth when the server was held up, and may have lost cycles.
    for (int tries = 0; tries < 20; ++tries) {
        const std::string port = "in" + std::to_string(tries);
        peer.emplace("synth", std::vector<std::string>{}, std::vector<std::string>{port});
        synth = address(MIDIDirection::destination, port);
        for (const Bytes& message : sent) {
            const MIDIPacket packet{TimePoint(), message};
            ASSERT_TRUE(backEnd->send(synth, {&packet, 1}));
        }
        if (waitFor([&] { return peer->heard() == sent; }, 1) || peer->xruns() == 0) break;
    }
    EXPECT_TRUE(waitFor([&] { return peer->heard() == sent; }));
    const int before = ear.changes;
    peer.reset();
    ASSERT_TRUE(waitFor([&] { return ear.changes > before; }));
    const MIDIPacket packet{TimePoint(), sent.back()};
    EXPECT_FALSE(backEnd->send(synth, {&packet, 1}));
}

TEST_F(JackMIDI, tellsOfWhatItCantSend) {
    LogLines log;
    ASSERT_TRUE(open());
    ASSERT_TRUE(backEnd->createVirtual(1, MIDIDirection::source, "Zelvane"));
    const std::vector<MIDIPacket> list(20000, {TimePoint(), kNoteOn});
    server.freeze();  // no cycle comes that could take them
    EXPECT_FALSE(backEnd->emit(1, list));
    server.thaw();
    EXPECT_TRUE(waitFor([&] { return !log.all().empty(); }));
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
        ASSERT_TRUE(startNote(*peer, {1, 2}));
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
    const Bytes control = {0xB0, 1, 2};
    ASSERT_TRUE(playAndHear(*peer, {{0, control}}, [&] { return ear.messages(2) == std::vector<Bytes>{control}; }));
    ASSERT_TRUE(peer->disconnect("keys:first", "Zelvane MIDI:Zelvane"));
    EXPECT_TRUE(hears(2, {control, kNoteOff}));
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
    ASSERT_TRUE(waitFor([&] { return peer->isDone(); }));
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
    ASSERT_TRUE(waitFor(hasNewAddress));
    EXPECT_EQ(second.key, first.key);
    EXPECT_FALSE(backEnd->connectSource(2, first.address));
    ASSERT_TRUE(backEnd->connectSource(3, second.address));
    EXPECT_TRUE(startNote(*peer, {3}));
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
        ASSERT_TRUE(waitFor(isPlaying)) << i;
        std::optional<JackMIDIPeer> peer;
        const auto isConnected = [&] {
            if (!peer || !peer->isOpen()) peer.emplace("keys", std::vector<std::string>{"out"});
            return peer->isOpen() && peer->connect("keys:out", "Zelvane MIDI:Zelvane");
        };
        const TimePoint started = Clock::monotonic().now();
        ASSERT_TRUE(waitFor(isConnected)) << i;
        slowest = std::max(slowest, std::chrono::duration<double>(Clock::monotonic().now() - started).count());
        ASSERT_TRUE(startNote(*peer, {1})) << i;
        EXPECT_TRUE(addresses.insert(address(MIDIDirection::source, "out")).second);
        const int before = ear.changes;
        server.kill();
        ASSERT_TRUE(hears(1, {kNoteOn, kNoteOff})) << i;
        ASSERT_TRUE(waitFor([&] { return ear.changes > before && backEnd->ports().empty(); }));
        ASSERT_TRUE(waitFor([&] { return peer->isDead() && stream->state() == AudioStreamState::lost; }));
        peer.reset();
        stream.reset();
        ASSERT_TRUE(server.start());
    }
    std::printf("JACK server killed 5 times: our port back at most %.2f s after the sound\n", slowest);
}

}  // namespace
}  // namespace zelvane

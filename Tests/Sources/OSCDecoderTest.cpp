// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/DecoderRig.h"
#include "Tests/Fakes/LogLines.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Event = std::array<int, 4>;

OSCArgument i(std::int32_t value) {
    return {value};
}
OSCArgument d(double value) {
    return {value};
}
OSCArgument f(float value) {
    return {value};
}
OSCArgument s(const char* text) {
    return {std::string(text)};
}

TEST(OSCDecoder, ANoteSoundsAndEndsAfterItsLengthToTheFrame) {
    DecoderRig rig;
    rig.sendAt(100ms, {"/om/note", {f(6050.7F), i(90), i(250), i(2)}});
    rig.sendAt(400ms, {"/om/note", {i(6050), i(90), i(0), i(2)}});
    rig.sendAt(500ms, {"/om/note", {i(6050), i(90), i(-7), i(2)}});
    rig.rig.renderUntil(1s);
    const auto events = rig.eventsOf(5);
    ASSERT_THAT(events, SizeIs(6));
    const std::int64_t start = events[0].frame;
    EXPECT_THAT(events, ElementsAre(PlayedEvent{start, 0x91, 60, 90}, PlayedEvent{start + 12000, 0x81, 60, 0},
                                    PlayedEvent{start + 14400, 0x91, 60, 90}, PlayedEvent{start + 14400, 0x81, 60, 0},
                                    PlayedEvent{start + 19200, 0x91, 60, 90}, PlayedEvent{start + 19200, 0x81, 60, 0}));
    EXPECT_EQ(rig.checker.checks, 3);
}

// Beyond what the reference says is refused.
TEST(OSCDecoder, WhatIsMalformedIsLoggedAndMakesNoSound) {
    constexpr double kNoInteger = 1e12;
    const std::vector<OSCMessage> table{
        {"/om/note", {i(6000), s("a\nb"), i(1), i(1)}},
        {"/om/note", {i(6000), i(1), i(1), i(1), i(1)}},
        {"/om/note", {d(kNoInteger), i(1), i(1), i(1)}},
        {"/om/note", {i(6000), i(1), d(-std::numeric_limits<double>::infinity()), i(1)}},
        {"/om/pgm", {i(1), i(2), s("x")}},
        {"/vesk.µq/fifos", {d(std::nan("")), i(60), i(1), i(1), i(1)}},
        {"/vesk.µq/fifos", {d(1), d(kNoInteger), i(1), i(1), i(1)}}};
    for (const auto& message : table) {
        DecoderRig rig;
        LogLines log;
        rig.sendAt(10ms, message);
        rig.sendAt(20ms, "/vesk.µq/start");
        rig.rig.renderUntil(100ms);
        EXPECT_THAT(log.of("OSCDecoder"), SizeIs(1)) << message.argumentsDescription();
        EXPECT_THAT(rig.notes(), IsEmpty()) << message.argumentsDescription();
    }
}

TEST(OSCDecoder, BundlesAreDispatchedInOrderAndNotOpenedFurther) {
    DecoderRig rig;
    LogLines log;
    const auto note = [](int midic) { return OSCPacket{OSCMessage{"/om/note", {i(midic), i(1), i(500), i(1)}}}; };
    const OSCPacket bundle{OSCBundle{1, {note(6000), note(6100), OSCPacket{OSCBundle{1, {note(7000)}}}, note(6200)}}};
    rig.rig.at(10ms, [&] { rig.decoder->oscConnection(rig.decoder->connection(), bundle, "127.0.0.1", 1); });
    rig.rig.renderUntil(100ms);
    std::vector<int> keys;
    for (const auto& event : rig.notes()) keys.push_back(event.data1);
    EXPECT_THAT(keys, ElementsAre(60, 61, 62));
    EXPECT_THAT(log.of("OSCDecoder"), SizeIs(1));
}

TEST(OSCDecoder, NothingIsHeardWhileItDoesNotListenOrAUnitIsMissing) {
    DecoderRig rig;
    LogLines log;
    rig.engine.setIsListening(false);
    rig.sendAt(10ms, {"/om/note", {i(6000), i(1), i(1), i(1)}});
    rig.rig.renderUntil(50ms);
    rig.engine.setIsListening(true);
    rig.engine.removeMicroUnit(1);
    rig.sendAt(60ms, {"/om/note", {i(6000), i(1), i(1), i(1)}});
    rig.rig.renderUntil(100ms);
    EXPECT_THAT(rig.notes(), IsEmpty());
    EXPECT_THAT(log.of("OSCDecoder"), IsEmpty());
    EXPECT_EQ(rig.checker.checks, 0);
}

TEST(OSCDecoder, TuningFilesAreStoredOnlyWhenTheyAreTaken) {
    DecoderRig rig;
    LogLines log;
    const std::string good = rig.folder.write("fine.scl", "! fine.scl\nfine\n2\n3/2\n2/1\n");
    rig.sendAt(10ms, {"/om/tuning", {s(good.c_str())}});
    rig.rig.renderUntil(20ms);
    EXPECT_EQ(rig.scala.description(), "fine");
    EXPECT_EQ(rig.defaults.string("tuning"), good);
    rig.sendAt(30ms, {"/om/tuning", {s("/nowhere.scl")}});
    rig.rig.renderUntil(40ms);
    EXPECT_EQ(rig.defaults.string("tuning"), good);
    EXPECT_THAT(log.all(), Contains("OSCDecoder: [gotOSCPacket:] first argument to /om/tuning should be a string "
                                    "pointing to a valid .scl file, received (\"/nowhere.scl\")"));
    rig.sendAt(50ms, {"/om/tuning", {s("")}});
    rig.sendAt(51ms, {"/om/keymap", {s("")}});
    rig.rig.renderUntil(60ms);
    EXPECT_EQ(rig.defaults.string("tuning"), "");
    EXPECT_EQ(rig.defaults.string("keymap"), "");
}

TEST(MicrotoneStream, NotesStartAtTheirFramesWhateverTheBlockSize) {
    const std::vector<double> deltas{0, 500, 250, 3.7, 41.2, 0, 107.31, 12.5, 333.333, 1, 0.4, 77.7};
    for (const std::uint32_t period : {64U, 100U, 512U, 2048U}) {
        DecoderRig rig(period);
        for (const double delta : deltas) rig.fifosAt(10ms, delta, 60.37F, 100, 20);
        rig.sendAt(11ms, "/vesk.µq/start");
        rig.rig.renderUntil(3s);
        const auto onsets = rig.onsets();
        ASSERT_EQ(onsets.size(), deltas.size());
        double planned = 0;
        for (std::size_t n = 0; n < deltas.size(); ++n) {
            planned += deltas[n] / 1000 * 48000;
            // The first fell due before the start, but the latency leaves time to play it where it belongs.
            EXPECT_NEAR(static_cast<double>(onsets[n]), planned, 1) << "note " << n << ", period " << period;
        }
        EXPECT_THAT(rig.eventsOf(6), SizeIs(2 * deltas.size()));
    }
}

TEST(MicrotoneStream, OnlyTheLastTwoHundredAreStarted) {
    DecoderRig rig;
    for (int n = 0; n < 250; ++n) rig.fifosAt(10ms, 1, static_cast<float>(n % 100), 1 + n / 100);
    rig.sendAt(11ms, "/vesk.µq/start");
    rig.rig.renderUntil(1s);
    const auto notes = rig.notes();
    ASSERT_THAT(notes, SizeIs(200));
    EXPECT_EQ(notes.front().data1, 50);
    EXPECT_EQ(notes.front().data2, 1);
}

TEST(MicrotoneStream, APausedStreamContinuesAtOnceWithItsSpacingAgainAndAgain) {
    DecoderRig rig;
    for (int n = 0; n < 4; ++n) rig.fifosAt(10ms, n == 0 ? 0 : 100, static_cast<float>(60 + n));
    rig.sendAt(10ms, "/vesk.µq/start");
    rig.sendAt(150ms, "/vesk.µq/pause");
    rig.sendAt(500ms, "/vesk.µq/continue");
    rig.sendAt(1000ms, "/vesk.µq/reset");
    rig.sendAt(1500ms, "/vesk.µq/continue");
    rig.rig.renderUntil(2500ms);
    const auto notes = rig.notes();
    std::vector<int> keys;
    for (const auto& note : notes) keys.push_back(note.data1);
    EXPECT_THAT(keys, ElementsAre(60, 61, 62, 63, 62, 63));
    EXPECT_THAT(rig.onsets(), ElementsAre(0, 4800, 490 * 48, 590 * 48, 1490 * 48, 1590 * 48));
}

// What is continued twice after one pause is there twice, and so on.
TEST(MicrotoneStream, AQueueThatIsDoubledAgainAndAgainEndsAtItsLimitAndIsUsedAgain) {
    DecoderRig rig;
    LogLines log;
    for (int n = 0; n < 1000; ++n) rig.fifosAt(10ms, 100'000, 60);
    for (int doubling = 0; doubling < 7; ++doubling) {
        rig.sendAt(20ms, "/vesk.µq/pause");
        rig.sendAt(20ms, "/vesk.µq/continue");
        rig.sendAt(20ms, "/vesk.µq/continue");
    }
    rig.fifosAt(20ms, 10, 64);
    rig.sendAt(30ms, "/vesk.µq/reset");
    rig.fifosAt(30ms, 10, 65);
    rig.sendAt(31ms, "/vesk.µq/start");
    rig.rig.renderUntil(200ms);
    EXPECT_EQ(rig.notes().back().data1, 65) << "what was queued is dropped";
    EXPECT_THAT(log.all(), Contains(testing::HasSubstr("the queue holds 100000 notes and takes no more")));
}

TEST(MicrotoneStream, PitchesAreCutInSinglePrecisionAndHeldToTheirRange) {
    DecoderRig rig;
    LogLines log;
    rig.fifosAt(10ms, 0, -5.0F);
    rig.fifosAt(10ms, 0, 2e9F);
    rig.fifosAt(10ms, 0, 69.35F);
    rig.sendAt(11ms, "/vesk.µq/start");
    rig.rig.renderUntil(200ms);
    EXPECT_THAT(rig.eventsOf(10), Contains(testing::Field(&PlayedEvent::data1, 0)));
    EXPECT_THAT(rig.notes(), SizeIs(2));
}

TEST(PlayerCounters, TellWhatBecameOfEveryMessage) {
    DecoderRig rig;
    const OSCMessage note{"/om/note", {{6000}, {100}, {10}, {1}}};
    rig.sendAt(10ms, note);
    rig.sendAt(10ms, {"/om/note", {{6000}, {0}, {10}, {1}}});
    rig.sendAt(10ms, {"/om/note", {{6000}, {100}, {10}, {17}}});
    rig.sendAt(10ms, {"/om/note", {{6000}}});
    rig.sendAt(10ms, "/om/nothing");
    rig.sendAt(10ms, {"/om/tuning", {{std::string("/nowhere.scl")}}});
    rig.sendAt(10ms, {"/om/ctl", {{7}, {100}, {1}}});
    const OSCPacket bundle{OSCBundle{1, {OSCPacket{note}, OSCPacket{OSCBundle{}}, OSCPacket{note}}}};
    rig.rig.at(20ms, [&] { rig.decoder->oscConnection(rig.decoder->connection(), bundle, "127.0.0.1", 1); });
    for (int n = 0; n < 3; ++n) rig.fifosAt(30ms, 100, 60);
    rig.sendAt(30ms, "/vesk.µq/start");
    rig.rig.renderUntil(180ms);
    const PlayerCounters& counters = rig.engine.counters();
    EXPECT_EQ(counters.oscMessages, 14U);
    EXPECT_EQ(counters.refusedMessages, 4U) << "wrong, unknown, no such file, a bundle in a bundle";
    EXPECT_EQ(counters.notes, 4U) << "one of the stream; neither the silent one nor the one without a channel";
    EXPECT_EQ(counters.queuedNotes, 2U);
    EXPECT_EQ(counters.ignoredPackets, 0U);
    rig.engine.setIsListening(false);
    rig.sendAt(190ms, note);
    rig.rig.renderUntil(200ms);
    EXPECT_EQ(counters.oscMessages, 14U);
    EXPECT_EQ(counters.ignoredPackets, 1U);
}

TEST(PlayerCounters, LateEventsOfAUnitThatIsGoneStillCount) {
    DecoderRig rig;
    rig.rig.renderUntil(500ms);
    const RenderGraph& graph = rig.rig.platform.graph;
    EXPECT_EQ(graph.lateEvents(), 0U);
    rig.rig.loop.performAt(DrivenClock::kStart + 100ms, [&] { rig.engine.handleNoteOnMessage(6000, 100, 1); });
    rig.rig.renderUntil(600ms);
    EXPECT_EQ(rig.notes().size(), 1U);
    EXPECT_EQ(graph.lateEvents(), 1U);
    rig.engine.removeMicroUnit(10);
    EXPECT_EQ(graph.lateEvents(), 1U);
}

}  // namespace
}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/DecoderRig.h"
#include "Tests/Fakes/LogLines.h"

#include <gmock/gmock.h>

#include <cmath>
#include <fstream>
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

TEST(OSCDecoder, ControllersAndProgramsAreBuiltAndMasked) {
    DecoderRig rig;
    rig.sendAt(10ms, {"/om/ctl", {i(7), i(100), i(1)}});
    rig.sendAt(11ms, {"/om/ctl", {i(7), i(200), i(0)}});
    rig.sendAt(12ms, {"/om/ctl", {i(7), i(1), i(17)}});
    rig.sendAt(13ms, {"/om/pgm", {i(19), i(1)}});
    rig.sendAt(14ms, {"/om/pgm", {i(147), i(2), i(3)}});
    rig.sendAt(15ms, {"/om/pgm", {i(5), i(16), i(3), i(4)}});
    rig.rig.renderUntil(200ms);
    std::vector<std::array<int, 3>> bytes;
    for (const auto& event : rig.eventsOf(10)) bytes.push_back({event.status, event.data1, event.data2});
    using B = std::array<int, 3>;
    EXPECT_THAT(bytes, ElementsAre(B{0xB0, 7, 100}, B{0xBF, 7, 72}, B{0xB0, 7, 1}, B{0xC0, 19, 0}, B{0xB1, 32, 3},
                                   B{0xC1, 19, 0}, B{0xBF, 32, 3}, B{0xBF, 0, 4}, B{0xCF, 5, 0}));
    EXPECT_THAT(rig.eventsOf(2), SizeIs(9));
    EXPECT_THAT(rig.eventsOf(1), IsEmpty());
}

TEST(OSCDecoder, WhatIsMalformedIsLoggedAndMakesNoSound) {
    constexpr double kNoInteger = 1e12;
    const auto nan = static_cast<float>(std::nan(""));
    const std::string gotOSC = "OSCDecoder: [gotOSCPacket:] ";
    const std::string note = gotOSC + "/om/note should have 4 integer arguments, received ";
    const std::string fifos = gotOSC + "/vesk.µq/fifos should have 5 number arguments, received ";
    struct Rejected {
        OSCMessage message;
        std::string line;
    };
    const std::vector<Rejected> table{
        {{"/om/note", {i(6000), i(1), i(1)}}, note + "(6000, 1, 1)"},
        {{"/om/note", {i(6000), i(1), i(1), i(1), i(1)}}, note + "(6000, 1, 1, 1, 1)"},
        {{"/om/note", {i(6000), s("a\nb"), i(1), i(1)}}, note + "(6000, \"a\\nb\", 1, 1)"},
        {{"/om/note", {f(nan), i(1), i(1), i(1)}}, ""},
        {{"/om/note", {d(kNoInteger), i(1), i(1), i(1)}}, ""},
        {{"/om/note", {i(6000), i(1), d(-std::numeric_limits<double>::infinity()), i(1)}}, ""},
        {{"/om/note", {OSCArgument(OSCOpaque{'T'}), i(1), i(1), i(1)}}, ""},
        {{"/om/ctl", {i(1), i(2)}}, gotOSC + "/om/ctl should have 3 integer arguments, received (1, 2)"},
        {{"/om/pgm", {i(1)}}, gotOSC + "/om/pgm should have 2-4 integer arguments, received (1)"},
        {{"/om/pgm", {i(1), i(2), s("x")}}, ""},
        {{"/vesk.µq/fifos", {i(1), i(60), i(1), i(1)}}, fifos + "(1, 60, 1, 1)"},
        {{"/vesk.µq/fifos", {d(std::nan("")), i(60), i(1), i(1), i(1)}}, ""},
        {{"/vesk.µq/fifos", {d(1), d(kNoInteger), i(1), i(1), i(1)}}, ""},
        {{"/OM/note", {i(1)}}, gotOSC + "received unknown OSC message /OM/note with arguments (1)"},
        {OSCMessage{"/om/keymap", {}},
         gotOSC + "/om/keymap should have a string argument pointing to a valid .kbm file"},
        {{"/om/tuning", {i(5)}},
         gotOSC + "first argument to /om/tuning should be a string pointing to a valid .scl file, received (5)"}};
    for (const auto& [message, expected] : table) {
        DecoderRig rig;
        LogLines log;
        rig.sendAt(10ms, message);
        rig.sendAt(20ms, "/vesk.µq/start");
        rig.rig.renderUntil(100ms);
        const auto lines = log.of("OSCDecoder");
        ASSERT_THAT(lines, SizeIs(1)) << expected;
        EXPECT_TRUE(expected.empty() || lines.front() == expected) << lines.front();
        EXPECT_THAT(rig.notes(), IsEmpty());
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
    const std::string good = rig.folder.path / "fine.scl";
    std::ofstream(good) << "! fine.scl\nfine\n2\n3/2\n2/1\n";
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
    EXPECT_EQ(rig.notes().back().data1, 65);
    EXPECT_THAT(log.all(), Contains(testing::HasSubstr("the queue holds 100000 notes and takes no more")));
}

TEST(MicrotoneStream, ResetDropsWhatIsQueuedAndStartsTheNextStreamAnew) {
    DecoderRig rig;
    rig.fifosAt(10ms, 5000, 60);
    rig.sendAt(20ms, "/vesk.µq/reset");
    rig.fifosAt(30ms, 10, 64);
    rig.sendAt(31ms, "/vesk.µq/start");
    rig.rig.renderUntil(1s);
    ASSERT_THAT(rig.notes(), SizeIs(1));
    EXPECT_EQ(rig.notes().front().data1, 64);
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

}  // namespace
}  // namespace zelvane

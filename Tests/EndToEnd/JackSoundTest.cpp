// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/EndToEnd/HeardNote.h"
#include "Tests/Fakes/JackServer.h"
#include "Tests/Fakes/PitchMeter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

namespace zelvane {
namespace {

OSCMessage note(std::int32_t midic, std::int32_t milliseconds) {
    return {"/om/note", {{midic}, {100}, {milliseconds}, {1}}};
}

TEST(JackSound, TenMidicsAreTenPitchesTenCentsApartAndEndAtTheirLength) {
    JackServer server;
    ASSERT_TRUE(server.start(48000, kLongPeriod));
    RunningPlayer player;
    ASSERT_TRUE(player.isListening()) << player.output();
    JackCapture capture(120);
    ASSERT_TRUE(waitFor([&] { return capture.connect(); }));
    double reference = 0;
    std::vector<double> lengths;
    for (std::int32_t tenth = 0; tenth < 10; ++tenth) {
        const auto play = [&] { player.send(note(6000 + 10 * tenth, 1200)); };
        const HeardNote heard = hearWholeNote(capture, 1.2, play, [] {});
        ASSERT_TRUE(heard.isHeard()) << tenth;
        const double expected = frequencyOfKey(60 + tenth / 10.0);
        const double frequency = frequencyOf(capture, heard, expected);
        if (tenth == 0) reference = frequency;
        EXPECT_NEAR(centsAbove(reference, frequency), 10 * tenth, 0.2) << tenth;
        EXPECT_NEAR(centsAbove(frequencyOfKey(60), frequency), 10 * tenth, 0.5) << tenth;
        lengths.push_back(static_cast<double>(heard.end - heard.begin));
    }
    // The server's frames run by its own clock, which is late when the machine is held up.
    std::ranges::sort(lengths);
    EXPECT_NEAR(lengths[5], 1.2 * 48000, 0.1 * 57600);
    EXPECT_EQ(player.terminate(), 0);
}

/// For a quarter of a second: the notes of some instruments fade long after their end.
bool hasBeenQuiet(const JackCapture& capture) {
    const std::size_t count = capture.count();
    return count > 12000 && !capture.hasSoundAfter(count - 12000);
}

/// Played again while the server leaves out too much of it.
double heardFrequency(const RunningPlayer& player, const JackCapture& capture, std::int32_t midic, double expected) {
    for (int attempt = 0; attempt < 6; ++attempt) {
        EXPECT_TRUE(waitFor([&] { return hasBeenQuiet(capture); })) << "before " << midic;
        const std::size_t begin = capture.count();
        player.send(note(midic, 1500));
        EXPECT_TRUE(waitFor([&] { return capture.count() > begin + 72000; })) << midic;
        const auto whole = capture.longestWhole(begin + 12000, begin + 72000);
        if (whole.size() > 20000) return measuredFrequency(whole, capture.sampleRate(), expected);
    }
    return 0;
}

// The player does not know the instrument when it starts: it is found, tried, measured and then taken up.
TEST(JackSound, AnLv2InstrumentThatIsNewIsTakenUpAndPlaysTenths) {
    JackServer server;
    ASSERT_TRUE(server.start(48000, kLongPeriod));
    RunningPlayer player({"--set", "musicDevice=MDA JX10"}, {"mda.lv2"});
    ASSERT_TRUE(player.isListening()) << player.output();
    JackCapture capture(240);
    ASSERT_TRUE(waitFor([&] { return capture.connect(); })) << capture.isOpen() << player.output() << server.output();
    const auto unitsSetUp = [&] {
        const std::string output = player.output();
        std::size_t count = 0;
        for (auto at = output.find("MDA JX10 <"); at != std::string::npos; at = output.find("MDA JX10 <", at + 1))
            ++count;
        return count;
    };
    ASSERT_TRUE(waitFor([&] { return unitsSetUp() == 10; }, 120)) << player.output();
    const double reference = heardFrequency(player, capture, 6000, frequencyOfKey(60));
    for (const std::int32_t tenth : {1, 4, 9}) {
        const double frequency = heardFrequency(player, capture, 6000 + 10 * tenth, reference);
        EXPECT_NEAR(centsAbove(reference, frequency), 10 * tenth, 0.5) << tenth;
    }
    EXPECT_EQ(player.terminate(), 0);
}

/// Whether the player is heard. JACK leaves a client without cycles now and then that is connected while the other end
/// is being activated, so each ear listens for a moment only.
bool isHeard(const std::function<void()>& keepPlaying) {
    const auto listenOnce = [&] {
        JackCapture capture(5);
        return waitFor(
                   [&] {
                       keepPlaying();
                       return capture.connect();
                   },
                   1) &&
               waitFor(
                   [&] {
                       keepPlaying();
                       return capture.hasSoundAfter(0);
                   },
                   1);
    };
    return waitFor(listenOnce);
}

// The stream goes on while the server dies and comes back; sound must be back within two seconds (the machine may be
// busy during some of them) and nothing may hang.
TEST(JackSound, TheServerMayDieAndReturnTwentyTimesWhileAStreamPlays) {
    JackServer server;
    ASSERT_TRUE(server.start());
    RunningPlayer player({"--set", "outputDevice=JACK: system"});
    ASSERT_TRUE(player.isListening()) << player.output();
    std::vector<Duration> returns;
    for (int round = 0; round < 20; ++round) {
        const auto keepPlaying = [&] { player.send(note(6000 + 10 * (round % 10), 60)); };
        const TimePoint started = Clock::monotonic().now();
        ASSERT_TRUE(isHeard(keepPlaying)) << "round " << round << "\n" << player.output();
        returns.push_back(Clock::monotonic().now() - started);
        server.kill();
        keepPlaying();
        ASSERT_TRUE(server.start()) << round;
    }
    std::ranges::sort(returns);
    EXPECT_LT(returns[10], std::chrono::seconds(2));
    ASSERT_TRUE(isHeard([&] { player.send(note(6000, 60)); }));
    JackCapture capture(10);
    ASSERT_TRUE(waitFor([&] { return capture.connect(); })) << player.output();
    ASSERT_TRUE(waitFor([&] { return capture.count() > 24000; }));
    const std::size_t settled = capture.count();
    ASSERT_TRUE(waitFor([&] { return capture.count() > settled + 24000; }));
    EXPECT_FALSE(capture.hasSoundAfter(settled)) << "a note hangs";
    EXPECT_EQ(player.terminate(), 0);
}

}  // namespace
}  // namespace zelvane

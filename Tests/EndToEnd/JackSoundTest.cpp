// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/EndToEnd/JackCapture.h"
#include "Tests/EndToEnd/RunningPlayer.h"
#include "Tests/Fakes/JackServer.h"
#include "Tests/Fakes/OnsetFinder.h"
#include "Tests/Fakes/PitchMeter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace zelvane {
namespace {

OSCMessage note(std::int32_t midic, std::int32_t milliseconds) {
    return {"/om/note", {{midic}, {100}, {milliseconds}, {1}}};
}

/// Sends a note and returns what was captured until it ended, silence before and after it included. A server that skips
/// frames, as one does on a machine that is held up, makes any sound shorter: then the note is played again.
std::span<const float> captureNote(const RunningPlayer& player, const JackCapture& capture, std::int32_t midic,
                                   std::int32_t milliseconds) {
    const double seconds = milliseconds / 1000.0 + 0.3;
    for (int attempt = 0; attempt < 8; ++attempt) {
        const int jumps = capture.jumps();
        const std::size_t begin = capture.count();
        player.send(note(midic, milliseconds));
        const std::size_t end = begin + static_cast<std::size_t>(seconds * capture.sampleRate());
        EXPECT_TRUE(waitFor([&] { return capture.count() >= end; }, seconds + 5));
        if (capture.jumps() == jumps) return capture.captured().subspan(begin, end - begin);
    }
    ADD_FAILURE() << "the server skips frames all the time";
    return {};
}

TEST(JackSound, TenMidicsAreTenPitchesTenCentsApartAndEndAtTheirLength) {
    JackServer server;
    ASSERT_TRUE(server.start());
    RunningPlayer player;
    ASSERT_TRUE(player.isListening()) << player.output();
    JackCapture capture(120);
    ASSERT_TRUE(waitFor([&] { return capture.connect(); }, 5));
    double reference = 0;
    for (std::int32_t tenth = 0; tenth < 10; ++tenth) {
        const auto sound = captureNote(player, capture, 6000 + 10 * tenth, 1200);
        const auto starts = onsets(sound, 4800, 1e-4F);
        ASSERT_EQ(starts.size(), 1U) << tenth;
        const double expected = frequencyOfKey(60 + tenth / 10.0);
        const double frequency = measuredFrequency(sound.subspan(starts[0] + 2000, 50000), 48000, expected);
        if (tenth == 0) reference = frequency;
        EXPECT_NEAR(centsAbove(reference, frequency), 10 * tenth, 0.2) << tenth;
        EXPECT_NEAR(centsAbove(frequencyOfKey(60), frequency), 10 * tenth, 0.5) << tenth;
        const auto isSound = [](float sample) { return std::abs(sample) > 1e-2F; };
        const auto last = std::find_if(sound.rbegin(), sound.rend(), isSound);
        const auto length = static_cast<double>(sound.rend() - last) - static_cast<double>(starts[0]);
        // FluidSynth works in steps of 64 frames, and its release is not quite a cut.
        EXPECT_NEAR(length, 1.2 * 48000, 256) << tenth;
    }
    EXPECT_EQ(player.terminate(), 0);
}

/// Whether the player is heard within that time. JACK leaves a client without cycles now and then that is connected
/// while the other end is being activated, so each ear listens for a moment only.
bool isHeard(double seconds, const std::function<void()>& keepPlaying) {
    const auto listenOnce = [&] {
        JackCapture capture(5);
        return waitFor(
                   [&] {
                       keepPlaying();
                       return capture.connect();
                   },
                   0.1) &&
               waitFor(
                   [&] {
                       keepPlaying();
                       return capture.hasSoundAfter(0);
                   },
                   0.3);
    };
    return waitFor(listenOnce, seconds);
}

// The stream goes on while the server dies and comes back; sound must be back within two seconds and nothing may hang.
TEST(JackSound, TheServerMayDieAndReturnTwentyTimesWhileAStreamPlays) {
    JackServer server;
    ASSERT_TRUE(server.start());
    RunningPlayer player({"--set", "outputDevice=JACK: system"});
    ASSERT_TRUE(player.isListening()) << player.output();
    for (int round = 0; round < 20; ++round) {
        const auto keepPlaying = [&] { player.send(note(6000 + 10 * (round % 10), 60)); };
        ASSERT_TRUE(isHeard(2, keepPlaying)) << "round " << round << "\n" << player.output();
        server.kill();
        keepPlaying();
        ASSERT_TRUE(server.start()) << round;
    }
    ASSERT_TRUE(isHeard(2, [&] { player.send(note(6000, 60)); }));
    JackCapture capture(10);
    ASSERT_TRUE(waitFor([&] { return capture.connect(); }, 2)) << player.output();
    ASSERT_TRUE(waitFor([&] { return capture.count() > 24000; }, 5));
    const std::size_t settled = capture.count();
    ASSERT_TRUE(waitFor([&] { return capture.count() > settled + 24000; }, 5));
    EXPECT_FALSE(capture.hasSoundAfter(settled)) << "a note hangs";
    EXPECT_EQ(player.terminate(), 0);
}

}  // namespace
}  // namespace zelvane

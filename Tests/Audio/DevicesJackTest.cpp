// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Jack/JackBackEnd.h"
#include "Tests/Audio/SoundServersTest.h"
#include "Tests/Fakes/JackServer.h"
#include "Tests/Fakes/RealtimeGuard.h"

namespace zelvane {
namespace {

double millisecondsSince(TimePoint date) {
    return std::chrono::duration<double, std::milli>(Clock::monotonic().now() - date).count();
}

class Jack : public testing::Test {
  protected:
    JackServer server;
    RecordingRenderer renderer;
    JackBackEnd backEnd;
    Error error;
};

TEST_F(Jack, playsInTheCyclesOfAServerThatItShares) {
    ASSERT_TRUE(server.start(44100, 128));
    ASSERT_EQ(backEnd.devices().size(), 1U);
    EXPECT_EQ(backEnd.devices()[0].name, "JACK: system");
    EXPECT_EQ(backEnd.devices()[0].format, (AudioDeviceFormat{44100, 2, 128, 32}));
    EXPECT_TRUE(backEnd.devices()[0].isDefault);
    auto stream = backEnd.open("JACK: system", {.periodFrames = 4096}, error);
    ASSERT_TRUE(stream) << error.description;
    EXPECT_EQ(stream->format(), (AudioDeviceFormat{44100, 2, 128, 32}));
    ASSERT_TRUE(stream->start(renderer));
    JackBackEnd otherBackEnd;
    RecordingRenderer otherRenderer;
    auto other = otherBackEnd.open({}, {}, error);
    ASSERT_TRUE(other && other->start(otherRenderer));
    ASSERT_TRUE(waitFor([&] { return renderer.count() >= 100 && otherRenderer.count() >= 100; }));
    RealtimeGuard::reset();
    EXPECT_TRUE(isSteadyAtSomeTime(renderer, 600, 44100, 500, "JACK (dummy, 128 frames)"));
    EXPECT_EQ(RealtimeGuard::violations().total(), 0U) << RealtimeGuard::firstOffender();
    EXPECT_EQ(stream->state(), AudioStreamState::alive);

    const std::string all = server.wires();
    EXPECT_NE(all.find("Zelvane:out_left\n   system:playback_1\n"), std::string::npos) << all;
    EXPECT_NE(all.find("Zelvane:out_right\n   system:playback_2\n"), std::string::npos) << all;
    other.reset();
    stream.reset();
    const std::size_t stoppedAt = renderer.count();
    EXPECT_EQ(server.wires().find("Zelvane"), std::string::npos);
    EXPECT_EQ(renderer.count(), stoppedAt);
    for (const auto& cycle : renderer.cycles())
        ASSERT_TRUE(cycle.frames == 128 && cycle.periodFrames == 128 && cycle.channels == 2);
}

using JackController = WithController<Jack, JackBackEnd>;

TEST_F(JackController, survivesTheDeathOfTheServerTwentyTimes) {
    controller.select({"JACK", "JACK: system"});
    EXPECT_TRUE(controller.status().isFallback);
    std::vector<double> leaves;
    std::vector<double> returns;
    for (int i = 0; i < 20; ++i) {
        const unsigned rate = i % 2 == 0 ? 48000 : 44100;
        const TimePoint started = Clock::monotonic().now();
        ASSERT_TRUE(server.start(rate, 256));
        ASSERT_TRUE(isHeardOn("JACK: system")) << "round " << i;
        returns.push_back(millisecondsSince(started));
        EXPECT_EQ(renderer.formats().back().sampleRate, rate);
        server.kill();
        const TimePoint killed = Clock::monotonic().now();
        ASSERT_TRUE(isHeardOn("null")) << "round " << i;
        leaves.push_back(millisecondsSince(killed));
    }
    std::ranges::sort(leaves);
    std::ranges::sort(returns);
    std::printf("JACK server killed 20 times: null device %.0f ms later, back %.0f ms after its start\n", leaves[10],
                returns[10]);
    // The machine may be busy during the others.
    EXPECT_LT(leaves[5], 100);
    EXPECT_LT(returns[10], 2000);
    EXPECT_FALSE(renderer.hasOverlapped());
}

TEST_F(JackController, leavesAServerThatHangs) {
    ASSERT_TRUE(server.start());
    controller.select({"JACK", "JACK: system"});
    ASSERT_TRUE(isHeardOn("JACK: system"));
    server.freeze();
    const TimePoint frozen = Clock::monotonic().now();
    ASSERT_TRUE(isHeardOn("null"));
    std::printf("JACK server frozen: null device %.0f ms later\n", millisecondsSince(frozen));
    server.thaw();
    EXPECT_TRUE(isHeardOn("JACK: system"));
}

}  // namespace
}  // namespace zelvane

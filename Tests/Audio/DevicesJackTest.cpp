// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Jack/JackBackEnd.h"
#include "Tests/Audio/SoundServersTest.h"
#include "Tests/Fakes/JackServer.h"
#include "Tests/Fakes/RealtimeGuard.h"

namespace zelvane {
namespace {

using std::chrono::milliseconds;
using Choice = OutputDeviceController::Choice;

double millisecondsSince(TimePoint date) {
    return std::chrono::duration<double, std::milli>(Clock::monotonic().now() - date).count();
}

class Jack : public testing::Test {
  protected:
    /// A back end does not look for a missing server again at once.
    bool lists(const std::vector<std::string>& names) {
        return waitFor([&] { return deviceNames(backEnd) == names; });
    }

    JackServer server;
    RecordingRenderer renderer;
    JackBackEnd backEnd;
    Error error;
};

const std::vector<std::string> kSystem = {"JACK: system"};

TEST_F(Jack, playsInTheServersCycles) {
    // Long cycles, which a machine that is held up keeps to.
    ASSERT_TRUE(server.start(44100, 1024));
    ASSERT_EQ(deviceNames(backEnd), kSystem);
    EXPECT_EQ(backEnd.devices()[0].format, (AudioDeviceFormat{44100, 2, 1024, 32}));
    EXPECT_TRUE(backEnd.devices()[0].isDefault);
    auto stream = backEnd.open("JACK: system", {.periodFrames = 4096}, error);
    ASSERT_TRUE(stream) << error.description;
    EXPECT_EQ(stream->format(), (AudioDeviceFormat{44100, 2, 1024, 32}));
    ASSERT_TRUE(stream->start(renderer));
    ASSERT_TRUE(waitFor([&] { return renderer.count() >= 20; }));
    RealtimeGuard::reset();
    EXPECT_TRUE(isSteadyAtSomeTime(renderer, 100, 44100, 500, "JACK (dummy, 1024 frames)"));
    EXPECT_EQ(RealtimeGuard::violations().total(), 0U) << RealtimeGuard::firstOffender();
    EXPECT_EQ(stream->state(), AudioStreamState::alive);

    const std::string all = server.wires();
    EXPECT_NE(all.find("Zelvane:out_left\n   system:playback_1\n"), std::string::npos) << all;
    EXPECT_NE(all.find("Zelvane:out_right\n   system:playback_2\n"), std::string::npos) << all;
    stream.reset();
    const std::size_t stoppedAt = renderer.count();
    EXPECT_EQ(server.wires().find("Zelvane"), std::string::npos);
    EXPECT_EQ(renderer.count(), stoppedAt);
    for (const auto& cycle : renderer.cycles())
        ASSERT_TRUE(cycle.frames == 1024 && cycle.periodFrames == 1024 && cycle.channels == 2);
}

TEST_F(Jack, leavesWhatTheUserHasRewired) {
    ASSERT_TRUE(server.start());
    auto stream = backEnd.open({}, {}, error);
    ASSERT_TRUE(stream && stream->start(renderer));
    ASSERT_TRUE(server.tool({"jack_disconnect", "Zelvane:out_left", "system:playback_1"}));
    ASSERT_TRUE(server.tool({"jack_connect", "Zelvane:out_left", "system:playback_2"}));
    // Several rounds of the upkeep, which comes every 200 ms.
    const std::size_t seen = renderer.count();
    ASSERT_TRUE(waitFor([&] { return renderer.count() > seen + 150; }));
    const std::string all = server.wires();
    EXPECT_EQ(all.find("Zelvane:out_left\n   system:playback_1"), std::string::npos) << all;
    EXPECT_NE(all.find("Zelvane:out_left\n   system:playback_2"), std::string::npos) << all;
}

TEST_F(Jack, followsThePeriodAndSharesTheServer) {
    ASSERT_TRUE(server.start(48000, 256));
    JackBackEnd otherBackEnd;
    RecordingRenderer otherRenderer;
    auto stream = backEnd.open({}, {}, error);
    ASSERT_TRUE(stream && stream->start(renderer));
    auto other = otherBackEnd.open({}, {}, error);
    ASSERT_TRUE(other && other->start(otherRenderer));
    ASSERT_TRUE(waitFor([&] { return renderer.count() > 10 && otherRenderer.count() > 10; }));
    ASSERT_TRUE(server.tool({"jack_bufsize", "1024"}));
    const auto hasGrown = [](const RecordingRenderer& one) {
        return one.count() > 0 && one.cycles().back().frames == 1024 && one.cycles().back().periodFrames == 1024;
    };
    EXPECT_TRUE(waitFor([&] { return hasGrown(renderer) && hasGrown(otherRenderer); }));
    EXPECT_EQ(stream->state(), AudioStreamState::alive);
}

TEST_F(Jack, isQuietWithoutAServer) {
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    for (int i = 0; i < 3; ++i) {
        JackBackEnd fresh;
        EXPECT_TRUE(fresh.devices().empty());
        EXPECT_EQ(fresh.open({}, {}, error), nullptr);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_FALSE(error.description.empty());
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
    std::printf(
        "JACK server killed 20 times: null device %.0f, at most %.0f ms later, back %.0f, at most %.0f ms after its "
        "start\n",
        leaves[10], leaves.back(), returns[10], returns.back());
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

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Pulse/PulseBackEnd.h"
#include "Tests/Audio/SoundServersTest.h"
#include "Tests/Fakes/PulseServer.h"

namespace zelvane {
namespace {

class Pulse : public testing::Test {
  protected:
    PulseServer server;
    RecordingRenderer renderer;
    PulseBackEnd backEnd;
    Error error;
};

TEST_F(Pulse, datesItsCyclesSmoothly) {
    ASSERT_TRUE(server.start());
    ASSERT_NE(server.addSink("one", "One", 48000), "");
    // A sink that was held up may be late all the time: then another stream.
    const auto playUndisturbed = [&] {
        auto stream = backEnd.open("PulseAudio: One", {.periodFrames = 256}, error);
        return stream && stream->start(renderer) &&
               isSteadyAtSomeTime(renderer, 500, 48000, 600, "PulseAudio (null sink, 256 frames)", 2);
    };
    EXPECT_TRUE(waitFor(playUndisturbed, 60)) << error.description;
}

using PulseController = WithController<Pulse, PulseBackEnd>;

TEST_F(PulseController, leavesASinkThatIsRemovedAndReturnsToIt) {
    ASSERT_TRUE(server.start());
    ASSERT_NE(server.addSink("one", "One", 48000), "");
    std::string second = server.addSink("two", "Two", 44100);
    controller.select({"PulseAudio", "PulseAudio: Two"});
    ASSERT_TRUE(isHeardOn("PulseAudio: Two"));
    EXPECT_EQ(controller.status().format.sampleRate, 44100);
    for (int i = 0; i < 4; ++i) {
        ASSERT_TRUE(server.removeSink(second));
        ASSERT_TRUE(isHeardOn("null")) << "not on the other sink: that one was not chosen";
        second = server.addSink("two", "Two", 44100);
        ASSERT_TRUE(isHeardOn("PulseAudio: Two"));
    }
    server.kill();
    ASSERT_TRUE(isHeardOn("null"));
    ASSERT_TRUE(server.start());
    ASSERT_NE(server.addSink("two", "Two", 44100), "");
    EXPECT_TRUE(isHeardOn("PulseAudio: Two"));
    EXPECT_FALSE(renderer.hasOverlapped());
}

TEST_F(PulseController, followsTheDefaultSinkAndItsRate) {
    ASSERT_TRUE(server.start());
    ASSERT_NE(server.addSink("one", "One", 48000), "");
    const std::string second = server.addSink("two", "Two", 44100);
    ASSERT_TRUE(server.control({"set-default-sink", "two"}));
    controller.select({});
    ASSERT_TRUE(isHeardOn("PulseAudio: Two"));
    ASSERT_TRUE(server.removeSink(second));
    ASSERT_TRUE(isHeardOn("PulseAudio: One"));
    EXPECT_TRUE(waitFor([&] { return controller.status().format.sampleRate == 48000; }));
    ASSERT_TRUE(server.control({"suspend-sink", "one", "1"}));
    ASSERT_TRUE(isHeardOn("null")) << "a suspended sink takes no sound";
    ASSERT_TRUE(server.control({"suspend-sink", "one", "0"}));
    EXPECT_TRUE(isHeardOn("PulseAudio: One"));
}

}  // namespace
}  // namespace zelvane

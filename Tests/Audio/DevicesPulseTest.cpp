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

TEST_F(Pulse, listsSinksByTheirDescriptions) {
    EXPECT_TRUE(backEnd.devices().empty());
    ASSERT_TRUE(server.start());
    ASSERT_NE(server.addSink("one", "Kopfh\u00f6rer", 44100), "");
    ASSERT_NE(server.addSink("two", "Kopfh\u00f6rer", 96000), "");
    ASSERT_TRUE(server.control({"set-default-sink", "two"}));
    const std::vector<std::string> names = {"PulseAudio: Kopfh\u00f6rer", "PulseAudio: Kopfh\u00f6rer (2)"};
    ASSERT_TRUE(waitFor([&] { return deviceNames(backEnd) == names; }));
    const auto devices = backEnd.devices();
    EXPECT_FALSE(devices[0].isDefault);
    EXPECT_TRUE(devices[1].isDefault);
    EXPECT_EQ(devices[0].format, (AudioDeviceFormat{44100, 2, 512, 16}));
    EXPECT_EQ(backEnd.open("PulseAudio: nothing", {}, error), nullptr);
    EXPECT_EQ(backEnd.open({}, {}, error)->format().sampleRate, 96000);
}

/// The cycles of one stream, from the tenth on.
std::vector<RecordingRenderer::Cycle> settledCycles(AudioStream& stream, RecordingRenderer& renderer) {
    const std::size_t begin = renderer.count();
    EXPECT_TRUE(stream.start(renderer));
    EXPECT_TRUE(waitFor([&] { return renderer.count() >= begin + 700; }));
    EXPECT_EQ(stream.state(), AudioStreamState::alive);
    auto cycles = renderer.cycles();
    cycles.erase(cycles.begin(), cycles.begin() + std::ptrdiff_t(begin) + 10);
    return cycles;
}

TEST_F(Pulse, datesItsCyclesSmoothly) {
    ASSERT_TRUE(server.start());
    ASSERT_NE(server.addSink("one", "One", 48000), "");
    std::vector<RecordingRenderer::Cycle> cycles;
    // A sink that was held up leaves something out, or is late all the time: then another try.
    const auto playUndisturbed = [&] {
        auto stream = backEnd.open("PulseAudio: One", {.periodFrames = 256}, error);
        if (stream) cycles = settledCycles(*stream, renderer);
        return cycles.size() > 200 && std::ranges::none_of(cycles, &RecordingRenderer::Cycle::isDiscontinuous) &&
               areSteady({cycles.begin() + 190, cycles.end()}, 48000, 400, "PulseAudio (null sink, 256 frames)");
    };
    ASSERT_TRUE(waitFor(playUndisturbed, 60)) << error.description;
    const std::size_t stoppedAt = renderer.count();
    EXPECT_EQ(renderer.count(), stoppedAt);
}

using PulseController = WithController<Pulse, PulseBackEnd>;

TEST_F(PulseController, leavesASinkThatIsRemovedAndReturnsToIt) {
    ASSERT_TRUE(server.start());
    ASSERT_NE(server.addSink("one", "One", 48000), "");
    std::string second = server.addSink("two", "Two", 44100);
    controller.select({"PulseAudio", "PulseAudio: Two"});
    ASSERT_TRUE(isHeardOn("PulseAudio: Two"));
    EXPECT_EQ(controller.status().format.sampleRate, 44100);
    // The fastest of several: the machine may be busy.
    Duration leave = Duration::max();
    Duration comeBack = Duration::max();
    for (int i = 0; i < 4; ++i) {
        ASSERT_TRUE(server.removeSink(second));
        const TimePoint removed = Clock::monotonic().now();
        ASSERT_TRUE(isHeardOn("null")) << "not on the other sink: that one was not chosen";
        leave = std::min(leave, Clock::monotonic().now() - removed);
        second = server.addSink("two", "Two", 44100);
        const TimePoint added = Clock::monotonic().now();
        ASSERT_TRUE(waitFor([&] { return controller.status().current.device == "PulseAudio: Two"; }));
        comeBack = std::min(comeBack, Clock::monotonic().now() - added);
        ASSERT_TRUE(isHeardOn("PulseAudio: Two"));
    }
    EXPECT_LT(leave, std::chrono::milliseconds(100));
    EXPECT_LT(comeBack, std::chrono::seconds(2));
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

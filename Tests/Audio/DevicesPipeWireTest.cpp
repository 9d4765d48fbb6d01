// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Jack/JackBackEnd.h"
#include "Tests/Audio/SoundServersTest.h"
#include "Tests/Fakes/JackServer.h"
#include "Tests/Fakes/PipeWireServer.h"

namespace zelvane {
namespace {

class PipeWireSinks : public testing::Test {
  protected:
    bool lists(std::vector<std::string> names) {
        std::ranges::sort(names);
        return waitFor([&] {
            std::vector<std::string> present = deviceNames(backEnd);
            std::ranges::sort(present);
            return present == names;
        });
    }

    JackServer noJackServer;  // a name under which nobody answers
    PipeWireServer server;
    RecordingRenderer renderer;
    JackBackEnd backEnd;
};

using PipeWire = WithController<PipeWireSinks, JackBackEnd>;

TEST_F(PipeWire, playsOnEachOfItsSinksOverItsOwnJackLibrary) {
    ASSERT_TRUE(server.start());
    ASSERT_TRUE(server.addSink("first", "First Sink"));
    ASSERT_TRUE(server.addSink("second", "Second Sink"));
    ASSERT_TRUE(lists({"JACK: First Sink", "JACK: Second Sink"}));
    controller.select({"JACK", "JACK: Second Sink"});
    ASSERT_TRUE(isHeardOn("JACK: Second Sink"));
    // A sink that goes takes the choice along for as long as it is away.
    ASSERT_TRUE(server.removeSink("second"));
    ASSERT_TRUE(isHeardOn("null"));
    ASSERT_TRUE(server.addSink("second", "Second Sink"));
    ASSERT_TRUE(isHeardOn("JACK: Second Sink"));
    EXPECT_TRUE(isSteadyAtSomeTime(renderer, 150, 48000, 500, "PipeWire over JACK"));

    controller.select({});
    ASSERT_TRUE(server.makeDefault("first"));
    EXPECT_TRUE(isHeardOn("JACK: First Sink"));
    ASSERT_TRUE(server.makeDefault("second"));
    EXPECT_TRUE(isHeardOn("JACK: Second Sink"));

    server.kill();
    EXPECT_TRUE(isHeardOn("null"));
    EXPECT_FALSE(renderer.hasOverlapped());
}

TEST_F(PipeWire, followsTheQuantumAndTheRate) {
    ASSERT_TRUE(server.start());
    ASSERT_TRUE(server.addSink("sink", "A Sink"));
    ASSERT_TRUE(lists({"JACK: A Sink"}));
    controller.select({"JACK", "JACK: A Sink"});
    ASSERT_TRUE(isHeardOn("JACK: A Sink"));
    const auto plays = [&](std::uint32_t quantum, double rate) {
        return waitFor([&] {
            return isHeardOn("JACK: A Sink") && renderer.cycles().back().frames == quantum &&
                   renderer.cycles().back().periodFrames == quantum && renderer.formats().back().sampleRate == rate;
        });
    };
    for (const unsigned quantum : {128U, 2048U}) {
        ASSERT_TRUE(server.force("quantum", quantum));
        EXPECT_TRUE(plays(quantum, 48000)) << quantum;
    }
    ASSERT_TRUE(server.force("rate", 44100));
    EXPECT_TRUE(plays(2048, 44100));
    EXPECT_EQ(controller.status().format.sampleRate, 44100);
    ASSERT_TRUE(server.force("rate", 48000));
    EXPECT_TRUE(plays(2048, 48000));
    EXPECT_FALSE(renderer.hasOverlapped());
}

}  // namespace
}  // namespace zelvane

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

}  // namespace
}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/EndToEnd/TunedKeys.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/JackServer.h"
#include "Tests/Machine/SequencerPeer.h"

#include <gtest/gtest.h>

namespace zelvane {
namespace {

TEST(PlayerPitch, KeysOfASequencerClientSoundAsTheScaleSays) {
    JackServer server;
    ASSERT_TRUE(server.start(48000, kLongPeriod));
    const TenSteps tuning;
    RunningPlayer player(tuning.options());
    ASSERT_TRUE(player.isListening()) << player.output();
    JackCapture capture(60);
    ASSERT_TRUE(waitFor([&] { return capture.connect(); }, 20)) << player.output();
    const SequencerPeer keyboard("Keyboard", "keys");
    AlsaAddress destination;
    ASSERT_TRUE(waitFor([&] { return (destination = keyboard.find("Zelvane", "Zelvane")).port >= 0; }, 20));
    ASSERT_TRUE(keyboard.connectTo(destination));
    tuning.expectKeys(player, capture, [&](int key, bool isDown) {
        keyboard.send(isDown ? SequencerPeer::noteOn(key) : SequencerPeer::noteOff(key));
    });
    EXPECT_EQ(player.terminate(), 0);
}

}  // namespace
}  // namespace zelvane

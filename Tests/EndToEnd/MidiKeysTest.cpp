// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/EndToEnd/TunedKeys.h"
#include "Tests/Fakes/JackMIDIPeer.h"
#include "Tests/Fakes/JackServer.h"

#include <gtest/gtest.h>

namespace zelvane {
namespace {

constexpr const char* kPlayer = "Zelvane MIDI:Zelvane";

void press(JackMIDIPeer& keyboard, int key, bool isDown) {
    const auto status = static_cast<std::uint8_t>(isDown ? 0x90 : 0x80);
    keyboard.play({{0, {status, static_cast<std::uint8_t>(key), 100}}});
}

TEST(MidiKeys, KeysOfAJackClientSoundAsTheScaleSays) {
    JackServer server;
    ASSERT_TRUE(server.start(48000, kLongPeriod));
    const TenSteps tuning;
    RunningPlayer player(tuning.options());
    ASSERT_TRUE(player.isListening()) << player.output();
    JackCapture capture(60);
    ASSERT_TRUE(waitFor([&] { return capture.connect(); }));
    JackMIDIPeer keyboard("keyboard", {"keys"});
    ASSERT_TRUE(waitFor([&] { return keyboard.connect("keyboard:keys", kPlayer); })) << player.output();
    tuning.expectKeys(player, capture, [&](int key, bool isDown) { press(keyboard, key, isDown); });
    EXPECT_EQ(player.terminate(), 0);
}

TEST(MidiKeys, AKeyboardThatIsPulledOutWithAKeyDownLeavesNoNote) {
    JackServer server;
    ASSERT_TRUE(server.start(48000, kLongPeriod));
    auto keyboard = std::make_unique<JackMIDIPeer>("keyboard", std::vector<std::string>{"keys"});
    RunningPlayer player({"--midi", "keyboard keys"});
    ASSERT_TRUE(player.isListening()) << player.output();
    JackCapture capture(60);
    ASSERT_TRUE(waitFor([&] { return capture.connect(); }));
    hearNote(
        capture, 0.5, [&] { press(*keyboard, 60, true); }, [&] { keyboard.reset(); });
    // It is known again when it returns.
    keyboard = std::make_unique<JackMIDIPeer>("keyboard", std::vector<std::string>{"keys"});
    ASSERT_TRUE(waitFor([&] { return !keyboard->connections("keyboard:keys").empty(); })) << player.output();
    const HeardNote note = hearWholeNote(
        capture, 0.5, [&] { press(*keyboard, 62, true); }, [&] { press(*keyboard, 62, false); });
    EXPECT_TRUE(note.isHeard());
    EXPECT_EQ(player.terminate(), 0);
}

}  // namespace
}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/EndToEnd/TunedKeys.h"
#include "Tests/Fakes/JackMIDIPeer.h"
#include "Tests/Fakes/JackServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

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

TEST(MidiKeys, SoundAsLateAsTheServerIsTold) {
    constexpr std::size_t kNotes = 7;
    JackServer server;
    ASSERT_TRUE(server.start(48000, kLongPeriod));
    RunningPlayer player;
    ASSERT_TRUE(player.isListening()) << player.output();
    JackCapture capture(60);
    ASSERT_TRUE(waitFor([&] { return capture.connect(); }));
    JackMIDIPeer keyboard("keyboard", {"keys"});
    ASSERT_TRUE(waitFor([&] { return keyboard.connect("keyboard:keys", kPlayer); })) << player.output();
    ASSERT_TRUE(waitFor([&] { return capture.toldAge().min > kLongPeriod; })) << capture.toldAge().min;
    EXPECT_EQ(capture.toldAge().min, capture.toldAge().max);
    std::vector<double> errors;
    while (errors.size() < kNotes) {
        keyboard.forget();
        const HeardNote note = hearWholeNote(
            capture, 0.4, [&] { press(keyboard, 60, true); }, [&] { press(keyboard, 60, false); });
        ASSERT_TRUE(note.isHeard());
        // Of those that were pressed, the one that was heard: the others were lost by a server that was held up.
        const auto pressed = keyboard.written();
        const auto last =
            std::find_if(pressed.rbegin(), pressed.rend(), [](const auto& event) { return event.bytes[0] == 0x90; });
        ASSERT_NE(last, pressed.rend());
        const std::chrono::duration<double, std::micro> moment = last->time.time_since_epoch();
        errors.push_back(double(note.begin) - capture.placeOfMoment(moment.count()) - capture.toldAge().min);
    }
    std::ranges::sort(errors);
    std::printf("keys sound %.0f frames after they were pressed, as told, and another %.1f (%.1f to %.1f)\n",
                double(capture.toldAge().min), errors[kNotes / 2], errors.front(), errors.back());
    // The instrument works in steps of 64 frames.
    EXPECT_NEAR(errors[kNotes / 2], 0, 64);
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

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/OSC/OSCClient.h"
#include "Tests/Fakes/ApplicationRig.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/LoopbackSocket.h"

#include <gmock/gmock.h>

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::SizeIs;

/// What the status item shows: the image and the titles of the items for listening and recording.
struct Shown {
    StatusImage image;
    std::string listening, recording;

    bool operator==(const Shown&) const = default;
};

const Shown kWaiting{StatusImage::statusIsWaiting, "Start Listening", "Start Recording…"};
const Shown kRunning{StatusImage::statusIsRunning, "Stop Listening", "Start Recording…"};

class StatusMenu : public testing::Test, protected ApplicationRig {
  protected:
    void launch(std::int64_t autolaunch = 0) {
        defaults.setArgument("port", {std::int64_t{0}});
        defaults.setArgument("autolaunch", {autolaunch});
        shell.startMenuItem().setTitle("Start Listening");
        shell.startRecordingMenuItem().setTitle("Start Recording…");
        application.applicationDidFinishLaunching(false);
        runFor(1ms);
    }
    Shown shown() {
        return {shell.statusItem().image(), shell.startMenuItem().title(), shell.startRecordingMenuItem().title()};
    }
    Zelvane& player() { return *application.zelvane(); }
};

TEST_F(StatusMenu, ShowsTheStatesOfListeningAndRecording) {
    launch();
    EXPECT_EQ(shown(), kWaiting);
    application.startStopListening();
    EXPECT_EQ(shown(), kRunning);
    EXPECT_EQ(shell.shown.port, player().listeningPort());
    shell.file = folder.path / "take.m4a";
    application.startStopRecording();
    EXPECT_THAT(shell.panels, ElementsAre("Save Recording|Save recording as|Zelvane Recording.m4a|m4a"));
    const Shown armedRed{StatusImage::statusIsRecording, "Stop Listening", "Stop Recording"};
    const Shown armedGreen{StatusImage::statusIsRunning, "Stop Listening", "Stop Recording"};
    EXPECT_EQ(shown(), armedGreen);
    runFor(500ms);
    EXPECT_EQ(shown(), armedRed);
    runFor(500ms);
    EXPECT_EQ(shown(), armedGreen);
    player().checkStatus();
    runFor(1ms);
    EXPECT_TRUE(player().isRecording());
    EXPECT_EQ(shown(), armedRed);
    runFor(600ms);
    EXPECT_EQ(shown(), armedRed) << "a recording that runs is steady";
    application.startStopRecording();
    runFor(1ms);
    EXPECT_EQ(shown(), kRunning);
    application.startStopListening();
    EXPECT_EQ(shown(), kWaiting);
}

TEST_F(StatusMenu, ShowsTheCountsOnceASecondWhileTheyChange) {
    launch(1);
    const int timesShown = shell.timesShown;
    Error error;
    for (int n = 0; n < 3; ++n)
        ASSERT_TRUE(
            sendOSCMessage({"/om/note", {{6000}, {100}, {5}, {1}}}, "127.0.0.1", player().listeningPort(), error));
    EXPECT_TRUE(waitFor([&] { return application.counts().notes == 3; }));
    EXPECT_EQ(shell.timesShown, timesShown);
    runFor(1100ms);
    EXPECT_EQ(shell.timesShown, timesShown + 1);
    EXPECT_EQ(shell.shown.counts.notes, 3U);
    runFor(5s);
    EXPECT_EQ(shell.timesShown, timesShown + 1);
    ASSERT_TRUE(sendOSCMessage({"/om/nothing", {}}, "127.0.0.1", player().listeningPort(), error));
    EXPECT_TRUE(waitFor([&] { return application.counts().oscMessages == 4; }));
    runFor(1100ms);
    EXPECT_EQ(shell.shown.counts.refusedMessages, 1U);
}

TEST_F(StatusMenu, ArmsNothingWhenTheSavePanelIsCancelledAndDisarmsWithTheListening) {
    launch(1);
    application.startStopRecording();
    EXPECT_THAT(shell.panels, SizeIs(1));
    EXPECT_EQ(shown(), kRunning);
    EXPECT_FALSE(player().isRecordingEnabled());
    shell.file = folder.path / "take.m4a";
    application.startStopRecording();
    EXPECT_TRUE(player().isRecordingEnabled());
    application.startStopListening();
    runFor(700ms);
    EXPECT_EQ(shown(), kWaiting);
    EXPECT_FALSE(player().isRecordingEnabled());
    EXPECT_FALSE(player().isRecording());
}

TEST_F(StatusMenu, ListensAtLaunchForNoOtherValueThanOne) {
    launch(2);
    EXPECT_EQ(shown(), kWaiting);
    EXPECT_FALSE(player().isListening());
}

TEST_F(StatusMenu, IsStoppedAndCanStartAgainAfterAPortThatWasTaken) {
    launch();
    auto other = std::make_unique<LoopbackSocket>();
    const std::uint16_t port = other->port();
    defaults.setArgument("port", {std::int64_t{port}});
    application.startStopListening();
    runFor(1ms);
    EXPECT_EQ(shown(), kWaiting);
    EXPECT_FALSE(player().isListening());
    other.reset();
    application.startStopListening();
    EXPECT_EQ(shown(), kRunning);
    EXPECT_EQ(player().listeningPort(), port);
}

TEST_F(StatusMenu, ListensAnewAfterThePreferencesWereAccepted) {
    launch();
    shell.answer = 1;
    bool wasEnabled = true;
    shell.duringDialog = [&] {
        wasEnabled = static_cast<SilentStatusItem&>(shell.statusItem()).isEnabled();
        application.preferencesDialog();  // the desktop may offer the menu all the same
    };
    application.preferencesDialog();
    EXPECT_FALSE(wasEnabled);
    EXPECT_TRUE(static_cast<SilentStatusItem&>(shell.statusItem()).isEnabled());
    EXPECT_EQ(shown(), kWaiting) << "who did not listen does not begin to";
    application.startStopListening();
    const std::uint16_t port = player().listeningPort();
    shell.answer = 0;
    application.preferencesDialog();
    EXPECT_EQ(player().listeningPort(), port) << "cancelled";
    shell.answer = 1;
    application.preferencesDialog();
    EXPECT_EQ(shown(), kRunning);
    EXPECT_NE(player().listeningPort(), port) << "bound anew, here to any that is free";
}

}  // namespace
}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/OSC/OSCClient.h"
#include "Tests/Fakes/ApplicationRig.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/LoopbackSocket.h"
#include "Tests/Fakes/MarkdownTable.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <set>

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::SizeIs;
using Json = nlohmann::json;

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
    /// What `--status` tells.
    Json report() { return Json::parse(reportJson(application.report())); }
    std::string state() { return report()["state"]; }
};

TEST_F(StatusMenu, AndTheReportShowTheStatesOfListeningAndRecording) {
    EXPECT_EQ(state(), "starting");
    launch();
    EXPECT_EQ(shown(), kWaiting);
    EXPECT_EQ(state(), "waiting");
    EXPECT_EQ(report()["osc"]["port"], 0);
    application.startStopListening();
    EXPECT_EQ(shown(), kRunning);
    EXPECT_EQ(state(), "listening");
    EXPECT_EQ(report()["recording"]["file"], "");
    EXPECT_EQ(shell.shown.port, player().listeningPort());
    EXPECT_EQ(report()["osc"]["port"], player().listeningPort());
    shell.file = folder.path / "take.m4a";
    application.startStopRecording();
    EXPECT_THAT(shell.panels, ElementsAre("Save Recording|Save recording as|Zelvane Recording.m4a|m4a"));
    const Shown armedRed{StatusImage::statusIsRecording, "Stop Listening", "Stop Recording"};
    const Shown armedGreen{StatusImage::statusIsRunning, "Stop Listening", "Stop Recording"};
    EXPECT_EQ(shown(), armedGreen);
    EXPECT_EQ(state(), "armed");
    runFor(500ms);
    EXPECT_EQ(shown(), armedRed);
    runFor(500ms);
    EXPECT_EQ(shown(), armedGreen);
    player().checkStatus();
    runFor(1ms);
    EXPECT_TRUE(player().isRecording());
    EXPECT_EQ(shown(), armedRed);
    const Json recording = report();
    EXPECT_EQ(recording["state"], "recording");
    EXPECT_EQ(recording["recording"]["file"], shell.file->string());
    EXPECT_EQ(recording["instrument"], (Json{{"name", "DLSMusicDevice"}, {"microtones", "yes"}}));
    EXPECT_EQ(recording["midi"]["input"], "Zelvane");
    EXPECT_EQ(recording["output"]["device"], "still");
    EXPECT_EQ(recording["output"]["sampleRate"], 48000);
    EXPECT_EQ(recording["latency"]["messageDelay"].get<float>(), 0.003F);
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

void addKeys(const Json& value, const std::string& path, std::set<std::string>& keys) {
    if (!value.is_object()) {
        keys.insert(path);
        return;
    }
    for (const auto& [key, inner] : value.items()) addKeys(inner, path.empty() ? key : path + "." + key, keys);
}

TEST_F(StatusMenu, TheReportHasTheKeysThatAreDocumented) {
    std::set<std::string> keys, documented;
    addKeys(report(), "", keys);
    for (const auto& row : markdownTable(ZELVANE_SOURCES "/README.md", "| Key | Meaning |")) {
        for (const auto& key : codeOf(row[0])) documented.insert(key);
    }
    EXPECT_EQ(documented, keys);
}

}  // namespace
}  // namespace zelvane

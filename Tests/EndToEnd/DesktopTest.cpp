// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/EndToEnd/RunningPlayer.h"
#include "Tests/Fakes/StatusNotifierWatcher.h"
#include "Tests/Fakes/XServer.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <algorithm>
#include <memory>

namespace zelvane {
namespace {

using testing::HasSubstr;
using testing::Not;

/// The real program on a display without a screen, with a bus of its own.
class ADesktop : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(bus.start());
        ASSERT_TRUE(display.start());
        ASSERT_TRUE(display.startWindowManager());
    }

    ChildProcess::Environment environment() const {
        auto all = display.environment();
        all.merge(bus.environment());
        all.emplace("XDG_RUNTIME_DIR", runtime.path);
        all.emplace("LC_ALL", "C.UTF-8");
        all.emplace("QT_QPA_PLATFORM", "");
        return all;
    }
    std::unique_ptr<RunningPlayer> start(const std::vector<std::string>& options = {}) const {
        std::vector<std::string> all{"--device", "null"};
        all.insert(all.end(), options.begin(), options.end());
        return std::make_unique<RunningPlayer>(all, std::vector<std::string>{}, environment());
    }
    /// Whether a window of that title is shown.
    bool shows(const std::string& title) const { return display.shows("^" + title); }
    bool press(const std::string& title, const std::string& keys) const { return display.press(keys, "^" + title); }
    /// Presses Escape until the window is gone.
    bool closes(const std::string& title) const {
        return waitUntil([&] {
            if (!shows(title)) return true;
            press(title, "Escape");
            return false;
        });
    }
    static bool waitUntil(const std::function<bool()>& condition, double seconds = 60) {
        return StatusNotifierWatcher::waitUntil(condition, seconds);
    }

    int argumentCount = 1;
    char name[5] = "test";
    char* arguments[2] = {name, nullptr};
    QCoreApplication application{argumentCount, arguments};
    SessionBus bus;
    XServer display;
    TemporaryFolder runtime;
};

QString text(const char* utf8) {
    return QString::fromUtf8(utf8);
}

TEST_F(ADesktop, ShowsTheStateInItsTrayAndTakesClicksThere) {
    StatusNotifierWatcher tray(bus);
    ASSERT_TRUE(tray.begin());
    const auto player = start();
    ASSERT_TRUE(tray.hasItem()) << player->output();
    EXPECT_GT(tray.images(), 2);
    EXPECT_TRUE(waitUntil([&] { return tray.toolTip() == text("Zelvane is not listening."); }))
        << tray.toolTip().toStdString();
    const QStringList labels{text("Start Listening"),
                             text("Start Recording…"),
                             text("-"),
                             text("DLSMusicDevice Settings…"),
                             text("Send Micro Tunings"),
                             text("All Notes Off"),
                             text("-"),
                             text("Preferences…"),
                             text("-"),
                             text("Quit Zelvane")};
    EXPECT_TRUE(waitUntil([&] { return tray.labels() == labels; })) << tray.labels().join(text("|")).toStdString();
    ASSERT_TRUE(tray.click(text("Start Listening")));
    EXPECT_TRUE(waitUntil([&] { return tray.labels().contains(text("Stop Listening")); }));
    const QString toolTip = text("Zelvane listens on port %1 and plays on null.").arg(player->port);
    EXPECT_TRUE(waitUntil([&] { return tray.toolTip() == toolTip; })) << tray.toolTip().toStdString();
    player->send({"/om/nothing", {}});
    EXPECT_TRUE(waitFor([&] { return player->output().find("/om/nothing") != std::string::npos; }, 5));
    EXPECT_TRUE(waitUntil([&] { return tray.toolTip().startsWith(toolTip + text("\nMessages: 1, notes: 0")); }))
        << tray.toolTip().toStdString();
    ASSERT_TRUE(tray.click(text("Quit Zelvane")));
    EXPECT_EQ(player->wait(), 0);
}

TEST_F(ADesktop, OffersNothingElseWhileItsPreferencesAreOpen) {
    StatusNotifierWatcher tray(bus);
    ASSERT_TRUE(tray.begin());
    const auto player = start({"--set", "autolaunch=1"});
    ASSERT_TRUE(tray.hasItem());
    ASSERT_TRUE(player->isListening()) << player->output();
    ASSERT_TRUE(tray.click(text("Preferences…")));
    ASSERT_TRUE(waitUntil([&] { return shows("Zelvane Preferences"); })) << display.windows();
    const auto mayBeChosen = [&] {
        const auto entries = tray.menu();
        return std::any_of(entries.begin(), entries.end(),
                           [](const auto& entry) { return entry.isEnabled && !entry.isSeparator; });
    };
    EXPECT_TRUE(waitUntil([&] { return !mayBeChosen(); }));
    player->send({"/om/nothing", {}});
    EXPECT_TRUE(waitFor([&] { return player->output().find("/om/nothing") != std::string::npos; }, 5))
        << "it plays on meanwhile";
    EXPECT_TRUE(closes("Zelvane Preferences"));
    EXPECT_TRUE(waitUntil(mayBeChosen));
    ASSERT_TRUE(tray.click(text("Preferences…")));
    ASSERT_TRUE(waitUntil([&] { return shows("Zelvane Preferences"); }));
    EXPECT_EQ(player->terminate(), 0) << "a dialog keeps nobody from ending it";
}

TEST_F(ADesktop, MayHaveItsTrayAfterThePlayer) {
    const auto player = start({"--set", "autolaunch=1"});
    ASSERT_TRUE(player->isListening()) << "without waiting for a tray";
    StatusNotifierWatcher tray(bus);
    ASSERT_TRUE(tray.begin());
    EXPECT_TRUE(tray.hasItem());
    EXPECT_TRUE(waitUntil([&] { return tray.labels().contains(text("Stop Listening")); }));
    const auto [status, output] = player->startAgain();
    EXPECT_EQ(status, 0);
    EXPECT_THAT(output, HasSubstr("it runs already and was brought up"));
    EXPECT_EQ(player->terminate(), 0);
}

TEST_F(ADesktop, WithoutATrayHasAWindowInstead) {
    const auto player = start({"--set", "autolaunch=1"});
    ASSERT_TRUE(player->isListening());
    const auto [status, output] = player->startAgain();
    EXPECT_EQ(status, 0) << output;
    ASSERT_TRUE(waitUntil([&] { return shows("Zelvane$"); }))
        << "at once, for somebody who asks: " << display.windows();
    EXPECT_EQ(player->startAgain({"--headless"}).first, 1) << "one for these settings, whatever it shows";
    // A window that was just shown may not have the keyboard yet.
    ASSERT_TRUE(waitUntil([&] {
        if (shows("Zelvane Preferences")) return true;
        press("Zelvane$", "ctrl+comma");
        return false;
    }));
    EXPECT_EQ(player->startAgain().first, 0) << "brings up the dialog";
    EXPECT_TRUE(closes("Zelvane Preferences"));
    ASSERT_TRUE(waitUntil([&] {
        if (!shows("Zelvane$")) return true;
        // A key that was pressed once too often above may have opened them again.
        closes("Zelvane Preferences");
        press("Zelvane$", "ctrl+q");
        return false;
    }));
    EXPECT_EQ(player->wait(), 0);
}

TEST_F(ADesktop, MayHaveATrayOfTheOlderKind) {
    ASSERT_TRUE(display.startTray());
    const auto player = start();
    EXPECT_TRUE(waitUntil([&] {
        const std::string windows = display.windows();
        const auto tray = windows.find("\"trayer\"");
        return windows.find("\"zelvane\"") != std::string::npos && tray != std::string::npos;
    })) << display.windows();
    EXPECT_FALSE(shows("Zelvane$")) << "no window beside the tray";
    EXPECT_EQ(player->terminate(), 0);
}

TEST(NoDesktop, LoadsNothingOfADesktop) {
    RunningPlayer player({"--device", "null"});
    ASSERT_TRUE(player.isListening());
    const std::string maps = player.maps();
    ASSERT_THAT(maps, HasSubstr("/zelvane"));
    // Debian's FluidSynth and PulseAudio libraries bring those of X with them, whoever uses them.
    for (const char* library : {"libQt", "zelvane-desktop"}) EXPECT_THAT(maps, Not(HasSubstr(library)));
    EXPECT_EQ(player.startAgain().first, 1) << "it has no window to bring up";
    EXPECT_EQ(player.terminate(), 0);
}

}  // namespace
}  // namespace zelvane

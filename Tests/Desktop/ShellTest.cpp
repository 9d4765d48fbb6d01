// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Qt/PlaceholderColor.h"
#include "Platform/Desktop/Qt/QtEventLoop.h"
#include "Sources/DesktopShell/AlertWindows.h"
#include "Sources/DesktopShell/FallbackWindow.h"
#include "Sources/DesktopShell/SavePanel.h"
#include "Sources/DesktopShell/StatusText.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/DesktopApplication.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QTest>
#include <QToolButton>
#include <thread>

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::SizeIs;

const auto* const application = testing::AddGlobalTestEnvironment(new DesktopApplication);

TEST(PlaceholderColor, IsThatOfTheTextWhateverTheDesktopSays) {
    const PlaceholderColor color(*qApp);
    QPalette desktop;
    desktop.setColor(QPalette::PlaceholderText, Qt::red);
    QApplication::setPalette(desktop);
    QApplication::sendPostedEvents();
    const QPalette palette = QLineEdit().palette();
    EXPECT_EQ(palette.color(QPalette::PlaceholderText).rgb(), palette.color(QPalette::Text).rgb());
}

/// Both loops of a main thread.
class Loops : public testing::Test {
  protected:
    Loops() { runLoop.attachToCurrentThread(); }

    void after(std::chrono::milliseconds delay, std::function<void()> work) {
        runLoop.performAfter(delay, std::move(work));
    }

    RunLoop runLoop;
    QtEventLoop eventLoop{runLoop};
    std::vector<std::string> ran;
};

TEST_F(Loops, ServeEachOther) {
    QTimer::singleShot(0, &eventLoop, [&] { ran.emplace_back("event"); });
    after(20ms, [&] { ran.emplace_back("work"); });
    after(40ms, [&] { runLoop.end(); });
    runLoop.run();
    EXPECT_THAT(ran, ElementsAre("event", "work"));
}

TEST_F(Loops, GoOnInADialogThatAnEventOpened) {
    QDialog dialog;
    QTimer::singleShot(0, &eventLoop, [&] {
        dialog.exec();
        ran.emplace_back("dialog closed");
        runLoop.end();
    });
    after(10ms, [&] { ran.emplace_back("timed"); });
    std::jthread other([&] {
        std::ignore = waitFor([&] { return dialog.isVisible(); });
        runLoop.perform([&] { ran.emplace_back("waited for"); }, RunLoop::Wait::yes);
        runLoop.performAfter(30ms, [&] { dialog.accept(); });
    });
    runLoop.run();
    EXPECT_THAT(ran, testing::UnorderedElementsAre("timed", "waited for", "dialog closed"));
    EXPECT_EQ(ran.back(), "dialog closed");
}

TEST_F(Loops, GoOnInADialogThatWorkOpened) {
    QDialog dialog;
    runLoop.perform([&] {
        dialog.exec();
        ran.emplace_back("dialog closed");
        runLoop.end();
    });
    after(10ms, [&] {
        // What waits in turn, as the search for instruments does, serves what comes meanwhile.
        bool isDone = false;
        after(10ms, [&] { isDone = true; });
        while (!isDone) runLoop.runOnce();
        ran.emplace_back("waited");
        dialog.accept();
    });
    runLoop.run();
    EXPECT_THAT(ran, ElementsAre("waited", "dialog closed"));
}

TEST_F(Loops, GiveWindowsTheirTurnWhileThereIsMuchToDo) {
    int events = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] { ++events; });
    timer.start(1ms);
    const TimePoint end = Clock::monotonic().now() + 200ms;
    while (Clock::monotonic().now() < end) {
        runLoop.perform([] {});
        runLoop.runOnce();
    }
    EXPECT_GT(events, 5);
}

QList<QMessageBox*> alerts() {
    QList<QMessageBox*> shown;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        auto* box = qobject_cast<QMessageBox*>(window);
        if (box != nullptr && box->isVisible()) shown << box;
    }
    return shown;
}

TEST(Alerts, AreCountedInOneWindowAndNothingWaitsForThem) {
    AlertWindows windows;
    for (int time = 0; time < 3; ++time) windows.present({"OSCController", 1, "Sorry, <b>no</b>", "Try again."});
    windows.present({"MIDIConfiguration", 1, "Sorry, no MIDI"});
    ASSERT_THAT(alerts(), SizeIs(2));
    for (QMessageBox* box : alerts()) {
        EXPECT_FALSE(box->isModal());
        EXPECT_EQ(box->textFormat(), Qt::PlainText);
        const bool isRepeated = box->text() == QStringLiteral("Sorry, <b>no</b>");
        EXPECT_EQ(box->informativeText(),
                  isRepeated ? QStringLiteral("Try again.\nThis happened 3 times.") : QString());
    }
    for (QMessageBox* box : alerts()) QTest::keyClick(box, Qt::Key_Escape);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_THAT(alerts(), SizeIs(0));
    windows.present({"OSCController", 1, "Sorry, <b>no</b>"});
    ASSERT_THAT(alerts(), SizeIs(1));
    EXPECT_EQ(alerts().front()->informativeText(), QString()) << "a new count for a new window";
}

TEST(Alerts, CanBeReadBesideAModalDialogAndAfterIt) {
    AlertWindows windows;
    QDialog dialog;
    QTimer::singleShot(0, &dialog, [&] {
        windows.present({"OSCController", 1, "Sorry, the port is taken"});
        EXPECT_EQ(alerts().front()->parentWidget(), &dialog) << "or nobody could click it";
        dialog.reject();
    });
    dialog.exec();
    ASSERT_THAT(alerts(), SizeIs(1));
    EXPECT_EQ(alerts().front()->parentWidget(), nullptr);
}

TEST(Alerts, ThatEndTheProgramAreReadFirst) {
    AlertWindows windows;
    bool wasRead = false;
    QTimer::singleShot(0, qApp, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        wasRead = true;
        QTest::keyClick(box, Qt::Key_Return);
    });
    windows.presentAndWait({"AudioConfiguration", 1, "Sorry, no instruments"});
    EXPECT_TRUE(wasRead);
}

std::optional<std::filesystem::path> save(const std::function<void(QLineEdit&)>& answer) {
    QTimer::singleShot(0, qApp, [&] {
        auto* panel = QApplication::activeModalWidget();
        answer(*panel->findChild<QLineEdit*>());
    });
    return runSavePanel("Save Recording", "Save recording as", "Zelvane Recording.m4a", {"m4a"});
}

TEST(SavePanel, OffersTheNameAndTakesAnother) {
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    TemporaryFolder folder;
    const auto none = save([](QLineEdit& name) {
        EXPECT_EQ(name.text(), QStringLiteral("Zelvane Recording.m4a"));
        EXPECT_EQ(name.window()->windowTitle(), QStringLiteral("Save Recording"));
        QTest::keyClick(&name, Qt::Key_Escape);
    });
    EXPECT_EQ(none, std::nullopt);
    const auto chosen = save([&](QLineEdit& name) {
        name.setText(QString::fromStdString(folder.path / "take 1"));
        QTest::keyClick(&name, Qt::Key_Return);
    });
    EXPECT_EQ(chosen, folder.path / "take 1.m4a");
}

TEST(StatusText, TellsTheCountsOfWhatWasPlayedAndWhatWentWrong) {
    PlayerStatus status{
        .isListening = true, .isRecordingEnabled = true, .port = 3000, .device = "null", .counts = {.xruns = 2}};
    const std::string state = "Zelvane listens on port 3000 and plays on null.\nA recording begins with the next note.";
    EXPECT_EQ(statusText(status), state) << "nothing was played yet";
    status.counts = {.oscMessages = 4, .midiMessages = 3, .notes = 5};
    EXPECT_EQ(statusText(status), state + "\nMessages: 7, notes: 5");
    status.counts.droppedFrames = 128;
    EXPECT_EQ(statusText(status), state + "\nMessages: 7, notes: 5\nLate events: 0, xruns: 0, dropped frames: 128");
}

TEST(FallbackWindow, HasStateAndMenuOfTheStatusItemAndNeedsNoMouse) {
    QMenu menu;
    QAction* listen = menu.addAction(QStringLiteral("Start Listening"));
    listen->setObjectName(QStringLiteral("startMenuItem"));
    menu.addSeparator();
    int started = 0;
    QObject::connect(listen, &QAction::triggered, listen, [&] { ++started; });
    QtStatusItem item(menu);
    item.setToolTip(QStringLiteral("Zelvane is not listening."));
    FallbackWindow window(item, menu);
    item.setChangeHandler([&] { window.update(); });
    window.bringUp();
    const auto* state = window.findChild<QLabel*>(QStringLiteral("statusText"));
    EXPECT_EQ(state->text(), QStringLiteral("Zelvane is not listening."));
    item.setToolTip(QStringLiteral("Zelvane listens."));
    EXPECT_EQ(state->text(), QStringLiteral("Zelvane listens."));
    item.setToolTip(QStringLiteral("Zelvane listens.\nMessages: 7, notes: 5\nLate events: 0\nxruns: 0\ndropped: 1"));
    QCoreApplication::processEvents();
    EXPECT_GE(state->height(), state->heightForWidth(state->width())) << "cut off";
    auto* button = window.findChild<QToolButton*>(QStringLiteral("startMenuItemButton"));
    button->setFocus(Qt::TabFocusReason);
    QTest::keyClick(button, Qt::Key_Space);
    EXPECT_EQ(started, 1);
    item.setEnabled(false);
    EXPECT_FALSE(button->isEnabled());
    QtMenuItem(*listen).setTitle("R&B Settings…");
    EXPECT_EQ(listen->text(), QStringLiteral("R&&B Settings…")) << "the name's own";
    EXPECT_EQ(QtMenuItem(*listen).title(), "R&B Settings…");
}

/// The last of all: afterwards Qt runs no loop any more.
using LastLoops = Loops;

TEST_F(LastLoops, EndWithADialogOpen) {
    QDialog dialog;
    int answer = -1;
    QTimer::singleShot(0, &eventLoop, [&] { answer = dialog.exec(); });
    after(50ms, [&] { runLoop.end(); });
    runLoop.run();
    EXPECT_EQ(answer, 0);
}

}  // namespace
}  // namespace zelvane

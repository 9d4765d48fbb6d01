// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/AppDelegate.h"
#include "Sources/Preferences/prefDialogController.h"
#include "Tests/Fakes/DesktopApplication.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/MemoryMIDI.h"
#include "Tests/Fakes/PlayerRig.h"
#include "Tests/Fakes/ScopedEnvironment.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zelvane {

/// The real dialog on a whole player with recording instruments, in folders of its own, used by keys and clicks.
class PreferencesDialog : public testing::Test {
  protected:
    /// The text of a scale of twelve equal steps, in semitones.
    static std::string scaleOf(double step) {
        std::string text = "steps\n 12\n";
        for (int degree = 1; degree <= 12; ++degree) text += " " + std::to_string(degree * step) + "\n";
        return text;
    }
    const std::string kWide = scaleOf(1.1);
    const std::string kNarrow = scaleOf(0.9);

    PreferencesDialog() {
        QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        defaults.registerDefaults(AppDelegate::registeredDefaults());
        std::filesystem::create_directories(folder.path / "scales");
        std::filesystem::permissions(folder.write("zelvane", "#!/bin/sh\n"), std::filesystem::perms::owner_all);
    }

    /// Lets time pass until changes of the MIDI set-up are taken in.
    void settle() { runUntil(rig.loop, rig.clock.now() + std::chrono::milliseconds(100)); }

    /// Makes the player, where there is none yet, and a dialog that is set up.
    prefDialogController& open() {
        if (player == nullptr) player = std::make_unique<Zelvane>(rig.loop, rig.platform, rig.application, defaults);
        rig.application.errors.clear();  // there may be no MIDI
        dialog = std::make_unique<prefDialogController>(defaults, rig.application, loginItem, help);
        dialog->setZelvane(*player);
        dialog->setup();
        return *dialog;
    }

    /// Runs the dialog while `act` uses it. One that doesn't close is a failure, and closed.
    int run(const std::function<void()>& act) {
        QTimer::singleShot(0, &dialog->window(), [&] {
            ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog->window()));
            act();
        });
        QTimer limit;
        QObject::connect(&limit, &QTimer::timeout, [] {
            ADD_FAILURE() << "it stays open";
            if (auto* open = qobject_cast<QDialog*>(QApplication::activeModalWidget())) open->done(-1);
        });
        limit.start(20'000);
        return dialog->runModal();
    }
    int runAndClick(const char* button) {
        return run([=, this] { click(button); });
    }

    template <typename Widget = QWidget>
    Widget& widget(const char* name) const {
        auto* found = dialog->window().findChild<Widget*>(QLatin1String(name));
        if (found == nullptr) throw std::runtime_error(std::string("there is no ") + name);
        return *found;
    }
    void click(const char* button) const {
        QTest::mouseClick(&widget<QAbstractButton>(button), Qt::LeftButton, {}, QPoint(8, 8));
    }
    void type(const char* line, const QString& text) const {
        widget<QLineEdit>(line).selectAll();
        if (text.isEmpty()) QTest::keyClick(&widget(line), Qt::Key_Delete);
        QTest::keyClicks(&widget(line), text);
    }
    std::string textOf(const char* line) const { return widget<QLineEdit>(line).text().toStdString(); }

    /// Clicks a button that asks for a file, and types its path into the panel.
    void load(const char* button, const std::filesystem::path& file) const {
        QTimer::singleShot(0, [file] {
            auto* panel = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            ASSERT_NE(panel, nullptr);
            auto* name = panel->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
            name->setText(QString::fromStdString(file.string()));
            QTest::keyClick(name, Qt::Key_Return);
            if (panel->isVisible()) panel->reject();
        });
        click(button);
    }
    void loadAndAccept(const char* button, const std::filesystem::path& file) {
        open();
        EXPECT_EQ(run([&] {
                      load(button, file);
                      click("okButton");
                  }),
                  1);
    }

    std::filesystem::path writeScale(const std::string& name, const std::string& text) const {
        return folder.write("scales/" + name, text);
    }
    std::filesystem::path copyOf(const std::string& name) const { return folder.path / "config/Zelvane" / name; }
    /// What the user's file keeps, read anew.
    std::optional<std::string> kept(const std::string& key) const {
        return UserDefaults(copyOf("Zelvane.plist")).string(key);
    }
    float pitchOfKey(std::size_t key) const { return player->midiTuning()->micromidiMap().at(key); }

    LogLines log;
    TemporaryFolder folder;
    const ScopedEnvironment environment{{{"XDG_CONFIG_HOME", folder.path / "config"},
                                         {"XDG_CONFIG_DIRS", folder.path / "xdg"},
                                         {"PATH", folder.path / "tools"}}};
    UserDefaults defaults{copyOf("Zelvane.plist")};
    const LoginItem loginItem{folder.path / "zelvane"};
    RecordingProvider* provider = new RecordingProvider({"DLSMusicDevice", "zither", "Alphorn"});
    PlayerRig rig{std::unique_ptr<AudioComponentProvider>(provider)};
    std::unique_ptr<MemoryMIDI> midi;
    std::unique_ptr<Zelvane> player;
    HelpBook help;
    std::unique_ptr<prefDialogController> dialog;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Sources/PreferencesDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>

namespace zelvane {
namespace {

const auto* const environmentOfTests = testing::AddGlobalTestEnvironment(new DesktopApplication);

using testing::ElementsAre;

PropertyList number(std::int64_t value) {
    return {value};
}

std::vector<std::string> titles(const QComboBox& popup) {
    std::vector<std::string> all;
    for (int index = 0; index < popup.count(); ++index) all.push_back(popup.itemText(index).toStdString());
    return all;
}

TEST_F(PreferencesDialog, ShowsWhatIsSavedOrElseWhatPlays) {
    defaults.set("musicDevice", {"gone"});
    open();
    EXPECT_EQ(widget<QComboBox>("outputDevicePopup").currentText(), QStringLiteral("still"));
    EXPECT_EQ(widget<QComboBox>("musicDevicePopup").currentText(), QStringLiteral("DLSMusicDevice"));
    EXPECT_EQ(defaults.string("musicDevice"), "gone") << "the user's choice stands";
    dialog.reset();
    player.reset();
    defaults.set("outputDevice", {"Another"});
    defaults.set("musicDevice", {"zither"});
    defaults.set("autolaunch", number(1));
    open();
    EXPECT_THAT(titles(widget<QComboBox>("outputDevicePopup")), ElementsAre("anon", "Another", "still"));
    EXPECT_EQ(widget<QComboBox>("outputDevicePopup").currentText(), QStringLiteral("Another"));
    EXPECT_THAT(titles(widget<QComboBox>("musicDevicePopup")), ElementsAre("Alphorn", "DLSMusicDevice", "zither"));
    EXPECT_EQ(widget<QComboBox>("musicDevicePopup").currentText(), QStringLiteral("zither"));
    EXPECT_EQ(textOf("portField"), "3000");
    EXPECT_EQ(textOf("outPortField"), "3010");
    EXPECT_TRUE(widget<QCheckBox>("autolaunchCheckButton").isChecked());
    EXPECT_EQ(textOf("keymap"), "default keyboard mapping");
    EXPECT_EQ(textOf("tuning"), "default tuning");
}

TEST_F(PreferencesDialog, MarksInstrumentsWithoutMicrotones) {
    provider->coarse = {2};
    open();
    EXPECT_THAT(titles(widget<QComboBox>("musicDevicePopup")),
                ElementsAre("Alphorn", "DLSMusicDevice", "zither (no microtones)"));
    widget<QComboBox>("musicDevicePopup").setCurrentIndex(2);
    runAndClick("okButton");
    EXPECT_EQ(kept("musicDevice"), "zither");
}

TEST_F(PreferencesDialog, KeepsOnlyWhatWasChangedOnOK) {
    open();
    EXPECT_EQ(run([&] {
                  type("portField", QStringLiteral("4000"));
                  click("autolaunchCheckButton");
                  click("autolaunchCheckButton");
                  EXPECT_EQ(defaults.integer("port"), 3000) << "edits are held back";
                  click("okButton");
              }),
              1);
    const UserDefaults file(copyOf("Zelvane.plist"));
    EXPECT_EQ(file.integer("port"), 4000);
    EXPECT_EQ(kept("outputDevice"), "still");
    for (const char* key : {"outPort", "autolaunch", "musicDevice", "keymap", "tuning", "midi"})
        EXPECT_EQ(file.object(key), std::nullopt) << key;
}

TEST_F(PreferencesDialog, SwitchesDeviceAndInstrumentOnOK) {
    open();
    run([&] {
        QTest::keyClicks(&widget("outputDevicePopup"), QStringLiteral("ano"));
        QTest::keyClicks(&widget("musicDevicePopup"), QStringLiteral("zi"));
        EXPECT_EQ(player->audioEngine().currentMusicDevice(), "DLSMusicDevice");
        click("okButton");
    });
    EXPECT_EQ(player->audioEngine().currentAudioDevice(), "anon");
    EXPECT_EQ(player->audioEngine().currentMusicDevice(), "zither");
    EXPECT_EQ(kept("outputDevice"), "anon");
    EXPECT_EQ(kept("musicDevice"), "zither");
}

TEST_F(PreferencesDialog, ThrowsEditsAwayHoweverItIsCancelled) {
    const std::function<void()> ways[] = {[&] { click("cancelButton"); },
                                          [&] { QTest::keyClick(&dialog->window(), Qt::Key_Escape); },
                                          [&] { dialog->window().close(); }};
    for (const auto& cancel : ways) {
        open();
        EXPECT_EQ(run([&] {
                      type("outPortField", QStringLiteral("5000"));
                      click("autolaunchCheckButton");
                      click("loginCheckButton");
                      QTest::keyClicks(&widget("musicDevicePopup"), QStringLiteral("zi"));
                      cancel();
                  }),
                  0);
        EXPECT_EQ(textOf("outPortField"), "5000");
        EXPECT_EQ(runAndClick("okButton"), 1) << "what was thrown away does not come back";
        EXPECT_EQ(defaults.integer("outPort"), 3010);
        EXPECT_EQ(defaults.integer("autolaunch"), 0);
        // What is no setting is set anew.
        ASSERT_EQ(loginItem.status(), LoginItem::kEnabled);
        Error ignored;
        loginItem.unregisterAndReturnError(ignored);
    }
}

TEST_F(PreferencesDialog, RefusesPortsThatAreNone) {
    open();
    EXPECT_EQ(run([&] {
                  for (const char* text : {"0", "65536", "", "-1", "+7", "12a", "1e3", "99999999999999999999"}) {
                      type("portField", QLatin1String(text));
                      EXPECT_EQ(textOf("portField"), text) << "what was typed stays";
                      EXPECT_FALSE(widget("okButton").isEnabled()) << text;
                      EXPECT_EQ(widget<QLabel>("portFieldError").text(), QStringLiteral("Must be 1 to 65535."));
                      QTest::keyClick(&widget("portField"), Qt::Key_Return);
                      EXPECT_TRUE(dialog->window().isVisible());
                  }
                  type("portField", QStringLiteral("65535"));
                  EXPECT_TRUE(widget("okButton").isEnabled());
                  EXPECT_TRUE(widget<QLabel>("portFieldError").text().isEmpty());
                  type("portField", QStringLiteral("x"));
                  type("outPortField", QStringLiteral("1"));
                  EXPECT_FALSE(widget("okButton").isEnabled()) << "one of the two is still wrong";
                  type("portField", QStringLiteral(" 65535"));
                  click("okButton");
              }),
              1);
    EXPECT_EQ(defaults.integer("port"), 65535);
    EXPECT_EQ(defaults.integer("outPort"), 1);
}

TEST_F(PreferencesDialog, ShowsSavedPortsThatAreNoneAsTheyAre) {
    defaults.set("port", number(70000));
    open();
    EXPECT_EQ(textOf("portField"), "70000");
    EXPECT_FALSE(widget("okButton").isEnabled());
    EXPECT_EQ(runAndClick("cancelButton"), 0);
    EXPECT_EQ(defaults.integer("port"), 70000);
}

TEST_F(PreferencesDialog, OpensAtLoginAsCheckedWhateverWasBefore) {
    using enum LoginItem::Status;
    const std::string broken = "[Desktop Entry]\nExec=/nowhere/zelvane\n", off = "[Desktop Entry]\nHidden=true\n";
    std::filesystem::create_directories(folder.path / "config/autostart");
    struct Case {
        std::string entry;
        LoginItem::Status before;
        bool isClicked;
        LoginItem::Status after;
    };
    const Case cases[] = {{"", kNotRegistered, true, kEnabled},
                          {"", kEnabled, false, kEnabled},
                          {"", kEnabled, true, kNotRegistered},
                          {broken, kNotFound, true, kEnabled},
                          {off, kRequiresApproval, true, kEnabled}};
    for (const Case& each : cases) {
        if (!each.entry.empty()) folder.write("config/autostart/org.zelvane.Zelvane.desktop", each.entry);
        ASSERT_EQ(loginItem.status(), each.before);
        open();
        EXPECT_EQ(widget<QCheckBox>("loginCheckButton").isChecked(), each.before == kEnabled);
        EXPECT_EQ(run([&] {
                      if (each.isClicked) click("loginCheckButton");
                      EXPECT_EQ(loginItem.status(), each.before) << "it waits for OK";
                      click("okButton");
                  }),
                  1);
        EXPECT_EQ(loginItem.status(), each.after);
    }
}

TEST_F(PreferencesDialog, OffersMIDIInputsWithOfflineOnesInItalics) {
    midi = std::make_unique<MemoryMIDI>(rig.loop);
    midi->plugIn("Keys", "Port");
    const auto organ = midi->plugIn("Organ", "Port");
    settle();
    defaults.set("midi", {"Keys Port"});
    open();
    midi->backEnd->unplug(organ);
    settle();
    open();
    auto& popup = widget<QComboBox>("midiInputPopup");
    ASSERT_THAT(titles(popup), ElementsAre("Keys Port", "Organ Port (offline)", "Zelvane"));
    const auto isItalic = [&](int index) { return popup.itemData(index, Qt::FontRole).value<QFont>().italic(); };
    EXPECT_FALSE(isItalic(0));
    EXPECT_TRUE(isItalic(1));
    EXPECT_FALSE(isItalic(2));
    EXPECT_EQ(popup.currentText(), QStringLiteral("Keys Port"));
    EXPECT_EQ(run([&] {
                  QTest::keyClick(&popup, Qt::Key_End);
                  EXPECT_NE(player->midiInput(), player->virtualMidiInput());
                  click("okButton");
              }),
              1);
    EXPECT_EQ(player->midiInput(), player->virtualMidiInput());
    EXPECT_EQ(kept("midi"), "Zelvane");
    open();
    run([&] {
        QTest::keyClick(&widget("midiInputPopup"), Qt::Key_Home);
        click("okButton");
    });
    EXPECT_EQ(player->midiInput()->displayName(), "Keys Port");
    EXPECT_EQ(kept("midi"), "Keys Port");
}

TEST_F(PreferencesDialog, HasNoValueToChooseWithoutMIDI) {
    open();
    EXPECT_THAT(titles(widget<QComboBox>("midiInputPopup")), ElementsAre("No Value"));
    EXPECT_EQ(runAndClick("okButton"), 1);
    EXPECT_EQ(defaults.object("midi"), std::nullopt);
}

TEST_F(PreferencesDialog, RescansWhileItCannotBeClosedOrChanged) {
    open();
    widget<QComboBox>("musicDevicePopup").setCurrentIndex(2);
    int looks = 0;
    EXPECT_EQ(run([&] {
                  rig.loop.perform([&] {
                      ++looks;
                      QTest::keyClick(&dialog->window(), Qt::Key_Escape);
                      click("okButton");
                      click("rescanButton");
                      EXPECT_TRUE(dialog->window().isVisible());
                  });
                  provider->gone = {3};
                  click("rescanButton");
                  rig.renderBlock();
                  EXPECT_EQ(widget<QLabel>("scanning").text(), QStringLiteral("Scan done."));
                  EXPECT_THAT(titles(widget<QComboBox>("musicDevicePopup")), ElementsAre("DLSMusicDevice", "zither"));
                  EXPECT_EQ(widget<QComboBox>("musicDevicePopup").currentText(), QStringLiteral("zither"));
                  click("okButton");
              }),
              1);
    EXPECT_EQ(looks, 1);
    EXPECT_EQ(player->audioEngine().currentMusicDevice(), "zither");
}

TEST_F(PreferencesDialog, CanBeUsedByTheKeyboardAlone) {
    open();
    run([&] {
        std::set<std::string> reached;
        ASSERT_NE(dialog->window().focusWidget(), nullptr);
        for (int i = 0; i < 40; ++i) {
            QTest::keyClick(dialog->window().focusWidget(), Qt::Key_Tab);
            reached.insert(dialog->window().focusWidget()->objectName().toStdString());
        }
        for (const auto* control : dialog->window().findChildren<QWidget*>()) {
            if (control->focusPolicy() == Qt::NoFocus || control->focusProxy() != nullptr || !control->isVisible())
                continue;
            EXPECT_FALSE(control->objectName().isEmpty());
            EXPECT_TRUE(reached.contains(control->objectName().toStdString())) << control->objectName().toStdString();
        }
        widget("portField").setFocus();
        type("portField", QStringLiteral("4001"));
        QTest::keyClick(&widget("portField"), Qt::Key_Return);
    });
    EXPECT_EQ(defaults.integer("port"), 4001);
}

}  // namespace
}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Qt/CatalogueTranslator.h"
#include "Tests/Fakes/CommaLocale.h"
#include "Tests/Fakes/UserLanguage.h"
#include "Tests/Sources/PreferencesDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QStyleOptionComboBox>

namespace zelvane {
namespace {

QPalette darkPalette() {
    QPalette palette(QColor(0x35, 0x38, 0x3d), QColor(0x2a, 0x2d, 0x31));
    palette.setColor(QPalette::Base, QColor(0x1e, 0x20, 0x23));
    palette.setColor(QPalette::Highlight, QColor(0x5a, 0xa9, 0xff));
    return palette;
}

/// The dialog in each language, on a light and a dark desktop.
class PreferencesLanguages : public PreferencesDialog, public testing::WithParamInterface<const char*> {
  protected:
    void SetUp() override { QCoreApplication::installTranslator(&translator); }
    void TearDown() override {
        QCoreApplication::removeTranslator(&translator);
        QApplication::setPalette(QPalette());
    }

    /// Widgets that are too small for what they say.
    std::vector<std::string> cutOff() const {
        std::vector<std::string> all;
        for (const auto* control : dialog->window().findChildren<QWidget*>()) {
            const auto* label = qobject_cast<const QLabel*>(control);
            if (!control->isVisible() || control->objectName().startsWith(QStringLiteral("qt_"))) continue;
            const bool wraps = label != nullptr && label->wordWrap();
            const bool saysSomething = (label != nullptr && !wraps) || qobject_cast<const QAbstractButton*>(control);
            const QSize needed = wraps ? QSize(0, label->heightForWidth(label->width())) : control->minimumSizeHint();
            const bool isTooSmall = control->width() < needed.width() || control->height() < needed.height();
            if (const auto* popup = qobject_cast<const QComboBox*>(control)) {
                QStyleOptionComboBox option;
                option.initFrom(popup);
                const auto room =
                    popup->style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, popup);
                if (popup->fontMetrics().horizontalAdvance(popup->currentText()) > room.width())
                    all.push_back(popup->objectName().toStdString());
            }
            if ((saysSomething || wraps) && isTooSmall) all.push_back(control->objectName().toStdString());
        }
        return all;
    }

    std::vector<QChar> mnemonics() const {
        std::vector<QChar> all;
        const auto add = [&](const QString& text) {
            if (const auto key = QKeySequence::mnemonic(text); !key.isEmpty()) all.push_back(key.toString().back());
        };
        for (const auto* label : dialog->window().findChildren<QLabel*>()) add(label->text());
        for (const auto* button : dialog->window().findChildren<QAbstractButton*>()) add(button->text());
        std::sort(all.begin(), all.end());
        return all;
    }

    const UserLanguage language{GetParam()};
    CatalogueTranslator translator;
};

INSTANTIATE_TEST_SUITE_P(In, PreferencesLanguages, testing::Values("en", "de", "fr"),
                         [](const auto& parameter) { return std::string(parameter.param); });

TEST_P(PreferencesLanguages, ShowsAllThatItSays) {
    provider->coarse = {1};
    defaults.set("tuning", {writeScale("narrow.scl", kNarrow).string()});
    for (const bool isDark : {false, true}) {
        QApplication::setPalette(isDark ? darkPalette() : QPalette());
        open();
        run([&] {
            type("portField", QStringLiteral("70000"));
            type("outPortField", QStringLiteral("0"));
            widget<QLabel>("scanning").setText(QString::fromStdString(localizedString("Scan done.")));
            QApplication::processEvents();
            EXPECT_THAT(cutOff(), testing::IsEmpty());
            EXPECT_LE(dialog->window().width(), 960) << "half of a screen of 1920 pixels at 200 %";
            EXPECT_LE(dialog->window().height(), 540);
            click("cancelButton");
        });
    }
}

TEST_P(PreferencesLanguages, HasAKeyOfItsOwnForEveryControl) {
    open();
    const auto keys = mnemonics();
    EXPECT_EQ(keys.size(), 14U);
    EXPECT_EQ(std::adjacent_find(keys.begin(), keys.end()), keys.end());
    // Each is pressed with Alt and reaches what it names.
    run([&] {
        for (auto* label : dialog->window().findChildren<QLabel*>()) {
            const auto key = QKeySequence::mnemonic(label->text());
            if (key.isEmpty()) continue;
            dialog->window().setFocus();
            QTest::keySequence(&dialog->window(), key);
            EXPECT_EQ(dialog->window().focusWidget(), label->buddy()) << label->text().toStdString();
        }
        click("cancelButton");
    });
}

TEST_P(PreferencesLanguages, SpeaksThatLanguage) {
    const std::map<std::string, std::array<const char*, 3>> texts{
        {"en", {"&Output device:", "default tuning", "Cancel"}},
        {"de", {"&Ausgabegerät:", "Standardstimmung", "Abbrechen"}},
        {"fr", {"&Périphérique de sortie\u00a0:", "accordage par défaut", "Annuler"}}};
    defaults.registerDefaults(AppDelegate::registeredDefaults());
    open();
    const auto& [label, tuning, cancel] = texts.at(GetParam());
    EXPECT_EQ(widget<QLabel>("outputDeviceLabel").text().toStdString(), label);
    EXPECT_EQ(textOf("tuning"), tuning);
    EXPECT_EQ(widget<QPushButton>("cancelButton").text().toStdString(), cancel);
}

TEST(Translators, LeaveNumbersTheirPoint) {
    const CommaLocale comma;
    installTranslators(*QCoreApplication::instance());
    EXPECT_EQ(std::strtod("0.5", nullptr), 0.5);
    const ScopedEnvironment german{{{"LC_ALL", "de_DE.UTF-8"}}};
    initLocalization();
    EXPECT_EQ(std::strtod("0.5", nullptr), 0.5);
    EXPECT_EQ(localizedString("Start Listening"), "Empfang starten");
    EXPECT_EQ(localizedString("not in the catalogue"), "not in the catalogue");
    EXPECT_EQ(localizedString(""), "") << "not the catalogue's header";
}

}  // namespace
}  // namespace zelvane

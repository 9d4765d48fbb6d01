// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Qt/HelpBook.h"
#include "Platform/Foundation/Resources.h"
#include "Tests/Fakes/DesktopApplication.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Fakes/UserLanguage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QRegularExpression>
#include <QTest>
#include <QTextBrowser>
#include <QUrl>
#include <filesystem>

namespace zelvane {
namespace {

const auto* const environmentOfTests = testing::AddGlobalTestEnvironment(new DesktopApplication);

using testing::HasSubstr;
using testing::SizeIs;

constexpr const char* kAnchors[] = {"preferences_general", "preferences_osc", "preferences_midi"};

/// A help book on a desktop whose browser is a script, or none.
class HelpBookTest : public testing::Test {
  protected:
    /// It keeps what it is asked to open, and ends with that status.
    void installBrowser(int status) const {
        const auto script = folder.write("xdg-open", "#!/bin/sh\nprintf %s \"$1\" > '" + opened.string() +
                                                         ".part'\n/bin/mv '" + opened.string() + ".part' '" +
                                                         opened.string() + "'\nexit " + std::to_string(status) + "\n");
        std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    }

    bool open(const char* anchor) { return book.openHelpAnchor(QLatin1String(anchor), kBook, &window); }
    QTextBrowser* pages() const { return window.findChild<QTextBrowser*>(); }

    const QString kBook = QLatin1String(HelpBook::kBook);
    TemporaryFolder folder;
    const std::filesystem::path opened = folder.path / "opened";
    const ScopedEnvironment environment{{{"PATH", folder.path}}};
    QDialog window;
    HelpBook book;
};

TEST_F(HelpBookTest, OpensThePageInTheBrowser) {
    installBrowser(0);
    ASSERT_TRUE(open("preferences_osc"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return std::filesystem::exists(opened); }));
    const QUrl url(QString::fromStdString(TemporaryFolder::read(opened)));
    EXPECT_EQ(url.toLocalFile().toStdString(), helpPage("preferences_osc")->string());
    EXPECT_EQ(pages(), nullptr);
}

TEST_F(HelpBookTest, ShowsThePageItselfWhereNothingOpensIt) {
    installBrowser(3);
    ASSERT_TRUE(open("preferences_midi"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return pages() != nullptr; }));
    EXPECT_TRUE(pages()->isVisible());
    EXPECT_THAT(pages()->toPlainText().toStdString(), HasSubstr("MIDI keys and tuning"));
}

TEST_F(HelpBookTest, ShowsThePageItselfWithoutABrowserAndFollowsItsLinks) {
    ASSERT_TRUE(open("preferences_general"));
    ASSERT_NE(pages(), nullptr);
    EXPECT_THAT(pages()->toPlainText().toStdString(), HasSubstr("General preferences"));
    pages()->setSource(QUrl(QStringLiteral("preferences_osc.html")));
    EXPECT_THAT(pages()->toPlainText().toStdString(), HasSubstr("/om/note"));
    ASSERT_TRUE(open("preferences_midi"));
    EXPECT_THAT(window.findChildren<QTextBrowser*>(), SizeIs(1)) << "one window is enough";
    QTest::keyClick(pages()->window(), Qt::Key_Escape);
    EXPECT_TRUE(QTest::qWaitFor([&] { return pages() == nullptr; }));
    ASSERT_TRUE(open("preferences_osc"));
    EXPECT_TRUE(pages()->isVisible());
}

TEST_F(HelpBookTest, KnowsNoOtherPagesAndBooks) {
    const LogLines log;
    EXPECT_FALSE(open("nothing"));
    EXPECT_FALSE(open("../help"));
    EXPECT_FALSE(book.openHelpAnchor(QStringLiteral("preferences_osc"), QStringLiteral("Another Book"), &window));
    EXPECT_THAT(log.of("HelpBook"), SizeIs(3));
    EXPECT_EQ(pages(), nullptr);
}

/// The pages of a language, whole and linked.
class HelpPages : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(In, HelpPages, testing::Values("en", "de", "fr"),
                         [](const auto& parameter) { return std::string(parameter.param); });

TEST_P(HelpPages, AreThereAndLinkedAmongThemselves) {
    const UserLanguage language(std::string(GetParam()) + "_XX:en");
    for (const char* anchor : kAnchors) {
        const auto page = helpPage(anchor);
        ASSERT_TRUE(page);
        EXPECT_EQ(page->parent_path().filename(), GetParam());
        const auto text = QString::fromStdString(TemporaryFolder::read(*page));
        EXPECT_TRUE(text.contains(QStringLiteral("lang=\"%1\"").arg(QLatin1String(GetParam()))));
        auto links = QRegularExpression(QStringLiteral("href=\"([^\"]*)\"")).globalMatch(text);
        int count = 0;
        for (; links.hasNext(); ++count) {
            const auto target = page->parent_path() / links.next().captured(1).toStdString();
            EXPECT_TRUE(std::filesystem::exists(target)) << target;
        }
        EXPECT_EQ(count, 3) << "the style and the two other pages";
    }
}

TEST(HelpLanguages, AreTriedInTheUsersOrder) {
    const auto folderOf = [](const char* languages) {
        const UserLanguage language(languages);
        return helpPage("preferences_osc")->parent_path().filename().string();
    };
    EXPECT_EQ(folderOf("eo:fr:de"), "fr");
    EXPECT_EQ(folderOf("de_AT.UTF-8@euro"), "de");
    EXPECT_EQ(folderOf("en_GB:de"), "en");
    EXPECT_EQ(folderOf("../de"), "en");
    EXPECT_EQ(folderOf("eo"), "en");
}

}  // namespace
}  // namespace zelvane

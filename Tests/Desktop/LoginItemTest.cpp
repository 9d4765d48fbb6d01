// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/DesktopEntry.h"
#include "Platform/Desktop/LoginItem.h"
#include "Tests/Fakes/ScopedEnvironment.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace zelvane {
namespace {

using std::filesystem::permissions;
using std::filesystem::perms;

/// A login item in folders of its own.
class LoginItemTest : public testing::Test {
  protected:
    LoginItemTest() {
        std::filesystem::create_directories(user.parent_path());
        std::filesystem::create_directories(system.parent_path());
    }

    std::filesystem::path makeProgram(const std::string& name) const {
        const auto file = folder.write(name, "#!/bin/sh\n");
        permissions(file, perms::owner_all);
        return file;
    }

    /// An entry that works, with lines added.
    std::string entry(const std::string& lines = {}) const {
        return "[Desktop Entry]\nType=Application\nExec=" + program.string() + " --some=word\n" + lines;
    }
    LoginItem::Status statusWithUsers(const std::string& text) const {
        folder.write("config/autostart/org.zelvane.Zelvane.desktop", text);
        return item.status();
    }

    TemporaryFolder folder;
    const std::filesystem::path user = folder.path / "config/autostart/org.zelvane.Zelvane.desktop";
    const std::filesystem::path system = folder.path / "xdg/autostart/org.zelvane.Zelvane.desktop";
    const ScopedEnvironment environment{{{"XDG_CONFIG_HOME", folder.path / "config"},
                                         {"XDG_CONFIG_DIRS", folder.path / "xdg"},
                                         {"XDG_CURRENT_DESKTOP", "Garden:GNOME"},
                                         {"PATH", folder.path / "tools"}}};
    const std::filesystem::path program = makeProgram("zelvane");
    const LoginItem item{program};
    Error error;
};

TEST_F(LoginItemTest, StartsProgramsWhateverTheirPathHas) {
    for (const char* name : {"with blank", "a\"b", "$HOME", "`id`", "back\\slash", "100%", "%f", "tab\tnew\nline",
                             "semi;colon", "'quotes'", "naïve", " start"}) {
        const auto odd = makeProgram(name);
        const LoginItem oddItem(odd, "odd");
        ASSERT_TRUE(oddItem.registerAndReturnError(error)) << name;
        EXPECT_EQ(oddItem.status(), LoginItem::kEnabled) << name;
        const auto written = DesktopEntry::parse(TemporaryFolder::read(folder.path / "config/autostart/odd.desktop"));
        ASSERT_TRUE(written);
        EXPECT_EQ(programOfCommand(*written->string("Exec")), odd);
        EXPECT_EQ(written->string("TryExec"), odd.string());
    }
}

// What every desktop reads: the command is quoted first, then escaped like any other value.
TEST_F(LoginItemTest, WritesTheCommandAsDesktopsReadIt) {
    const LoginItem odd("/opt/a \"b\" $c\\d %e");
    ASSERT_TRUE(odd.registerAndReturnError(error));
    EXPECT_NE(TemporaryFolder::read(user).find("\nExec=\"/opt/a \\\\\"b\\\\\" \\\\$c\\\\\\\\d %%e\"\n"),
              std::string::npos)
        << TemporaryFolder::read(user);
    EXPECT_NE(TemporaryFolder::read(user).find("\nTryExec=/opt/a \"b\" $c\\\\d %e\n"), std::string::npos);
}

TEST_F(LoginItemTest, RequiresApprovalWhereItIsTurnedOff) {
    EXPECT_EQ(statusWithUsers(entry()), LoginItem::kEnabled);
    EXPECT_EQ(statusWithUsers(entry("Hidden=true\n")), LoginItem::kRequiresApproval);
    EXPECT_EQ(statusWithUsers("[Desktop Entry]\nHidden = true\n"), LoginItem::kRequiresApproval);
    EXPECT_EQ(statusWithUsers(entry("X-GNOME-Autostart-enabled=false\n")), LoginItem::kRequiresApproval);
    EXPECT_EQ(statusWithUsers(entry("OnlyShowIn=KDE;XFCE;\n")), LoginItem::kRequiresApproval);
    EXPECT_EQ(statusWithUsers(entry("OnlyShowIn=KDE;GNOME;\n")), LoginItem::kEnabled);
    EXPECT_EQ(statusWithUsers(entry("NotShowIn=Garden;\n")), LoginItem::kRequiresApproval);
    EXPECT_EQ(statusWithUsers(entry("NotShowIn=KDE;\n[Other]\nHidden=true\n")), LoginItem::kEnabled);
}

TEST_F(LoginItemTest, IsNotFoundWithoutItsProgramOrAReadableEntry) {
    EXPECT_EQ(statusWithUsers("[Desktop Entry]\nExec=/nowhere/zelvane\n"), LoginItem::kNotFound);
    EXPECT_EQ(statusWithUsers(entry("TryExec=/nowhere/zelvane\n")), LoginItem::kNotFound);
    EXPECT_EQ(statusWithUsers("[Desktop Entry]\n"), LoginItem::kNotFound);
    EXPECT_EQ(statusWithUsers("no entry at all"), LoginItem::kNotFound);
    permissions(program, perms::owner_read);
    EXPECT_EQ(statusWithUsers(entry()), LoginItem::kNotFound);
    std::filesystem::remove(user);
    std::filesystem::create_symlink("nowhere", user);
    EXPECT_EQ(item.status(), LoginItem::kNotFound);
    std::filesystem::remove(user);
    EXPECT_EQ(statusWithUsers("[Desktop Entry]\nExec=player %U\n"), LoginItem::kNotFound);
    std::filesystem::create_directory(folder.path / "tools");
    makeProgram("tools/player");
    EXPECT_EQ(item.status(), LoginItem::kEnabled) << "found by its name";
}

TEST_F(LoginItemTest, TurnsTheSystemsEntryOffAndOnForTheUserAlone) {
    EXPECT_EQ(item.status(), LoginItem::kNotRegistered);
    EXPECT_TRUE(item.unregisterAndReturnError(error)) << "nothing to do";
    folder.write("xdg/autostart/org.zelvane.Zelvane.desktop", entry());
    EXPECT_EQ(item.status(), LoginItem::kEnabled);
    ASSERT_TRUE(item.unregisterAndReturnError(error));
    EXPECT_EQ(item.status(), LoginItem::kRequiresApproval);
    EXPECT_EQ(TemporaryFolder::read(system), entry());
    ASSERT_TRUE(item.registerAndReturnError(error));
    EXPECT_EQ(item.status(), LoginItem::kEnabled);
}

TEST_F(LoginItemTest, SaysWhyAnEntryCannotBeWritten) {
    std::filesystem::remove_all(user.parent_path());
    folder.write("config/autostart", "no folder");
    EXPECT_FALSE(item.registerAndReturnError(error));
    EXPECT_FALSE(error.description.empty());
    EXPECT_EQ(TemporaryFolder::read(user.parent_path()), "no folder");
}

}  // namespace
}  // namespace zelvane

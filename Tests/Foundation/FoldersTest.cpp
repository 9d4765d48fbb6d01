// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Folders.h"
#include "Tests/Fakes/ScopedEnvironment.h"

#include <gmock/gmock.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

namespace zelvane {

namespace {

using testing::ElementsAre;

/// The variables that say where folders are, which a test sets and the next one finds as they were.
class FoldersTest : public testing::Test {
    const ScopedEnvironment _environment{
        {{"HOME", {}}, {"XDG_CONFIG_HOME", {}}, {"XDG_DATA_HOME", {}}, {"XDG_DATA_DIRS", {}}}};
};

TEST_F(FoldersTest, FollowTheEnvironmentButNotItsRelativePaths) {
    setenv("HOME", "/home/ada", 1);
    EXPECT_EQ(preferencesFolder(), "/home/ada/.config/Zelvane");
    EXPECT_EQ(userSupportFolder(), "/home/ada/.local/share/Zelvane");
    EXPECT_THAT(dataFolders(), ElementsAre("/home/ada/.local/share", "/usr/local/share", "/usr/share"));
    setenv("XDG_CONFIG_HOME", "/c", 1);
    setenv("XDG_DATA_HOME", "relative/data", 1);
    setenv("XDG_DATA_DIRS", ":/a:relative::/b/:", 1);
    EXPECT_EQ(preferencesFolder(), "/c/Zelvane");
    EXPECT_THAT(dataFolders(), ElementsAre("/home/ada/.local/share", "/a", "/b/"));
}

TEST_F(FoldersTest, WithoutAnEnvironmentTheUsersEntryCounts) {
    setenv("XDG_DATA_DIRS", "", 1);
    const std::filesystem::path home = getpwuid(getuid())->pw_dir;
    EXPECT_EQ(preferencesFolder(), home / ".config" / "Zelvane");
    EXPECT_THAT(dataFolders(), ElementsAre(home / ".local/share", "/usr/local/share", "/usr/share"));
}

}  // namespace

}  // namespace zelvane

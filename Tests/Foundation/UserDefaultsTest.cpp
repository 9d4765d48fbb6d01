// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/UserDefaults.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <limits>
#include <thread>

namespace zelvane {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

PropertyList text(const std::string& value) {
    return {value};
}

class UserDefaultsTest : public testing::Test {
  protected:
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.path / "Zelvane" / "settings.plist";
    const LogLines log;
};

TEST_F(UserDefaultsTest, ArgumentsStandOverTheUsersOverTheRegistered) {
    {
        UserDefaults defaults(file);
        defaults.registerDefaults({{"port", {std::int64_t{3000}}}, {"tuning", text("default tuning")}});
        EXPECT_EQ(defaults.integer("port"), 3000);
        defaults.set("port", {std::int64_t{3001}});
        defaults.set("tuning", text("/a.scl"));
        defaults.setArgument("port", text("4000"));
        EXPECT_EQ(defaults.integer("port"), 4000);
        defaults.set("port", {std::int64_t{3002}});
        EXPECT_EQ(defaults.integer("port"), 4000);
        EXPECT_EQ(defaults.registeredObject("port"), (PropertyList{std::int64_t{3000}}));
        EXPECT_EQ(defaults.registeredObject("other"), std::nullopt);
    }
    UserDefaults next(file);
    EXPECT_EQ(next.integer("port"), 3002);  // and no trace of the argument
    next.registerDefaults({{"tuning", text("default tuning")}});
    EXPECT_EQ(next.string("tuning"), "/a.scl");
    next.remove("tuning");
    EXPECT_EQ(next.string("tuning"), "default tuning");
    EXPECT_EQ(UserDefaults(file).object("tuning"), std::nullopt);
    EXPECT_THAT(log.all(), ElementsAre());
}

TEST_F(UserDefaultsTest, ValuesAreConvertedAsFarAsTheyGo) {
    UserDefaults defaults(file);
    const std::tuple<PropertyList, std::int64_t, std::optional<std::string>> cases[] = {
        {text("3000"), 3000, "3000"},
        {text(" -12 apples"), -12, " -12 apples"},
        {text("true"), 0, "true"},
        {{true}, 1, "1"},
        {{2.9}, 2, "2.9"},
        {{-2.9}, -2, "-2.9"},
        {{1e300}, std::numeric_limits<std::int64_t>::max(), "1e+300"},
        {{std::numeric_limits<double>::quiet_NaN()}, 0, "nan"},
        {{PropertyList::Data{}}, 0, std::nullopt},
        {{PropertyList::Array{text("3")}}, 0, std::nullopt},
    };
    for (const auto& [value, integer, string] : cases) {
        defaults.setArgument("key", value);
        EXPECT_EQ(defaults.integer("key"), integer);
        EXPECT_EQ(defaults.string("key"), string);
    }
    EXPECT_EQ(defaults.integer("none"), 0);
    EXPECT_EQ(defaults.string("none"), std::nullopt);
}

TEST_F(UserDefaultsTest, ADamagedFileIsKeptUnderANameOfItsOwn) {
    for (const char* content : {"<plist><dict><key>port</key>", "<plist><array/></plist>", "garbage"}) {
        const auto damaged = folder.write("settings.plist", content);
        UserDefaults defaults(damaged);
        defaults.set("port", {std::int64_t{3001}});
        EXPECT_EQ(UserDefaults(damaged).integer("port"), 3001);
    }
    std::vector<std::string> kept;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path)) {
        if (entry.path().filename().string().starts_with("settings.plist.damaged-")) {
            kept.push_back(TemporaryFolder::read(entry.path()));
        }
    }
    EXPECT_THAT(kept,
                testing::UnorderedElementsAre("<plist><dict><key>port</key>", "<plist><array/></plist>", "garbage"));
    EXPECT_EQ(log.all().size(), 6U);
    EXPECT_THAT(log.all(),
                testing::Contains(HasSubstr("the damaged file is kept as " + folder.path.string())).Times(3));
}

TEST_F(UserDefaultsTest, AFailedSaveIsLoggedAndMadeUpForLater) {
    folder.write("Zelvane", "a file where the folder should be");
    UserDefaults defaults(file);
    defaults.set("port", {std::int64_t{3001}});
    EXPECT_THAT(log.all(), ElementsAre(HasSubstr("UserDefaults: [save] ")));
    EXPECT_EQ(defaults.integer("port"), 3001);
    EXPECT_FALSE(defaults.save());
    std::filesystem::remove(folder.path / "Zelvane");
    EXPECT_TRUE(defaults.save());
    EXPECT_EQ(UserDefaults(file).integer("port"), 3001);
}

TEST_F(UserDefaultsTest, TheHandlerDecidesWhenToSaveAndHearsOnlyOfChanges) {
    UserDefaults defaults(file);
    int changes = 0;
    defaults.setSaveHandler([&] { changes += defaults.integer("port") == 3001 ? 1 : 100; });
    defaults.set("port", {std::int64_t{3001}});
    defaults.set("port", {std::int64_t{3001}});
    defaults.remove("none");
    EXPECT_EQ(changes, 1);
    EXPECT_FALSE(std::filesystem::exists(file));
    defaults.save();
    EXPECT_EQ(UserDefaults(file).integer("port"), 3001);
    std::filesystem::remove(file);
    defaults.save();
    EXPECT_FALSE(std::filesystem::exists(file));  // nothing new to write
    EXPECT_TRUE(defaults.saveAnyway());
    EXPECT_EQ(UserDefaults(file).integer("port"), 3001);
}

TEST_F(UserDefaultsTest, ThreadsMayStoreAtTheSameTime) {
    UserDefaults defaults(file);
    {
        std::vector<std::jthread> writers;
        for (const char* key : {"a", "b", "c"}) {
            writers.emplace_back([&defaults, key] {
                for (std::int64_t i = 1; i <= 20; ++i) defaults.set(key, {i});
            });
        }
    }
    const UserDefaults stored(file);
    EXPECT_EQ(stored.integer("a") + stored.integer("b") + stored.integer("c"), 60);
    EXPECT_THAT(log.all(), ElementsAre());
}

}  // namespace

}  // namespace zelvane

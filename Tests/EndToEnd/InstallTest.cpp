// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/DesktopEntry.h"
#include "Platform/Foundation/ApplicationID.h"
#include "Tests/Audio/Lv2Bundles.h"
#include "Tests/EndToEnd/RunningPlayer.h"
#include "Tests/Fakes/AudioFileReader.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <regex>
#include <set>

namespace zelvane {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

using Names = std::set<std::string>;

/// What the first group of the expression matches, anywhere in the text.
Names namesIn(const std::string& text, const std::string& expression) {
    const std::regex pattern(expression);
    Names names;
    for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match)
        names.insert((*match)[1]);
    return names;
}

/// The program and all that belongs to it, installed in a folder that no other program knows.
class Installed : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        _folder = std::make_unique<TemporaryFolder>();
        const std::string log = _folder->path / "log";
        const bool isInstalled =
            ChildProcess::run({ZELVANE_CMAKE, "--install", ZELVANE_BUILD, "--prefix", prefix()}, {}, log);
        ASSERT_TRUE(isInstalled) << TemporaryFolder::read(log);
    }
    static void TearDownTestSuite() { _folder.reset(); }

    static std::filesystem::path prefix() { return _folder->path / "prefix"; }
    static std::string program() { return prefix() / "bin/zelvane"; }
    static std::string textOf(const std::string& file) { return TemporaryFolder::read(prefix() / file); }
    static std::string idFile(const std::string& folder, const std::string& ending) {
        return textOf("share/" + folder + "/" + kApplicationID + ending);
    }

    /// What the shell's command prints, where $0 is the program.
    std::string printed(const std::string& command, const ChildProcess::Environment& environment = {}) const {
        auto all = environment;
        all.merge(ChildProcess::Environment{{"HOME", folder.path},
                                            {"LC_ALL", "C.UTF-8"},
                                            {"XDG_CACHE_HOME", folder.path / "cache"},
                                            {"XDG_CONFIG_HOME", folder.path / "config"},
                                            {"XDG_DATA_HOME", folder.path / "data"}});
        const std::string output = folder.path / "output";
        EXPECT_TRUE(ChildProcess::run({"bash", "-c", command + " 2>&1", program()}, all, output)) << command;
        return TemporaryFolder::read(output);
    }
    /// What bash offers for a line that begins with the program's name, as the words that it would insert.
    std::vector<std::string> offered(const std::string& line) const {
        const std::string words = printed(
            "source " + (prefix() / "share/bash-completion/completions/zelvane").string() +
                R"(; COMP_LINE="$0 $LINE"; COMP_POINT=${#COMP_LINE}; _zelvane; printf '%s\n' "${COMPREPLY[@]}")",
            {{"LINE", line}});
        std::istringstream lines(words);
        std::vector<std::string> all;
        for (std::string word; std::getline(lines, word);) all.push_back(word);
        return all;
    }

    /// Whether it listens, as it doesn't say on a desktop.
    static bool answers(const RunningPlayer& player) {
        return waitFor(
            [&] {
                player.send({"/nothing", {}});
                return player.output().find("unknown OSC message /nothing") != std::string::npos;
            },
            60);
    }

    const TemporaryFolder folder;

  private:
    static inline std::unique_ptr<TemporaryFolder> _folder;
};

TEST_F(Installed, ThePlayerSoundsFromWhereItStandsAndFinishesARecordingWhenItEnds) {
    const std::string take = folder.path / "take.m4a";
    RunningPlayer player({"--device", "null", "--record", take}, {}, {}, program());
    ASSERT_TRUE(player.isListening()) << player.output();
    for (int n = 0; n < 8; ++n) player.send({"/vesk.µq/fifos", {{40.0}, {60.0F}, {100}, {20}, {1}}});
    player.send({"/vesk.µq/start", {}});
    EXPECT_EQ(player.client.next(30).address, "/vesk.mq/more");
    EXPECT_EQ(player.terminate(), 0);
    EXPECT_THAT(player.output(), AllOf(HasSubstr("Zelvane: recorded "), EndsWith(" s to " + take + "\n")));
    const auto samples = decodeAudioFile(take);
    ASSERT_TRUE(samples);
    EXPECT_TRUE(std::any_of(samples->begin(), samples->end(), [](std::int32_t sample) { return sample > 1 << 24; }));
}

TEST_F(Installed, TheDesktopsPartIsFoundWhereItIsAndMissedWhereItIsNot) {
    const ChildProcess::Environment desktop{{"QT_QPA_PLATFORM", "offscreen"}, {"DBUS_SESSION_BUS_ADDRESS", "none:"}};
    const std::string module = prefix() / "lib/zelvane/zelvane-desktop.so";
    const std::vector<std::string> options{"--device", "null", "--set", "autolaunch=1"};
    {
        RunningPlayer player(options, {}, desktop, program());
        EXPECT_TRUE(answers(player)) << player.output();
        EXPECT_THAT(player.maps(), HasSubstr(module));
        EXPECT_EQ(player.terminate(), 0);
        EXPECT_THAT(player.output(), Not(HasSubstr("--headless")));
    }
    std::filesystem::rename(module, module + ".away");
    RunningPlayer player(options, {}, desktop, program());
    EXPECT_TRUE(player.isListening()) << player.output();
    EXPECT_THAT(player.output(), HasSubstr("the package zelvane-desktop, is not installed, so it runs as with"));
    EXPECT_THAT(player.maps(), Not(HasSubstr("libQt")));
    EXPECT_EQ(player.terminate(), 0);
    std::filesystem::rename(module + ".away", module);
}

TEST_F(Installed, FilesStandWhereTheProgramAndTheDesktopLook) {
    for (const char* file : {"share/Zelvane/PropertyLists/Music Device Default Properties.plist",
                             "share/Zelvane/Help/help.css", "share/Zelvane/Help/de/preferences_midi.html",
                             "share/locale/fr/LC_MESSAGES/zelvane.mo", "share/doc/zelvane/examples/microtones.py",
                             "share/doc/zelvane/osc-reference.md", "share/icons/hicolor/scalable/apps/zelvane.svg"})
        EXPECT_TRUE(std::filesystem::is_regular_file(prefix() / file)) << file;
    const auto unit = textOf("lib/systemd/user/zelvane.service");
    EXPECT_THAT(unit, HasSubstr("\nType=notify\nExecStart=zelvane --headless\n"));
}

TEST_F(Installed, TheDesktopKnowsItByOneName) {
    const auto entry = DesktopEntry::parse(idFile("applications", ".desktop"));
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->string("Exec"), "zelvane");
    EXPECT_EQ(entry->string("Icon"), kIconName);
    const std::string id = kApplicationID;
    const std::string software = idFile("metainfo", ".metainfo.xml");
    EXPECT_THAT(software, HasSubstr("<id>" + id + "</id>"));
    EXPECT_THAT(software, HasSubstr("<launchable type=\"desktop-id\">" + id + ".desktop</launchable>"));
    EXPECT_THAT(software, HasSubstr("<summary>" + entry->string("Comment").value_or("") + "</summary>"));
    EXPECT_THAT(textOf("share/man/man1/zelvane.1"), HasSubstr("/autostart/" + id + ".desktop"));
}

TEST_F(Installed, WhatTellsOfTheProgramNamesItsVersion) {
    const std::string version = printed("$0 --version");
    const std::string number = version.substr(version.find(' ') + 1, version.size() - version.find(' ') - 2);
    EXPECT_THAT(textOf("share/man/man1/zelvane.1"), HasSubstr("\"Zelvane " + number + "\""));
    EXPECT_THAT(idFile("metainfo", ".metainfo.xml"), HasSubstr("<release version=\"" + number + "\""));
}

TEST_F(Installed, TheManualNamesTheOptionsAndSettingsThatThereAre) {
    const std::string help = printed("$0 --help");
    std::string manual = textOf("share/man/man1/zelvane.1");
    const Names options = namesIn(help, "(--[a-z][a-z-]*)");
    EXPECT_GE(options.size(), 13U);
    const auto words = offered("--");
    EXPECT_EQ(Names(words.begin(), words.end()), options);
    manual.erase(std::remove(manual.begin(), manual.end(), '\\'), manual.end());
    EXPECT_EQ(namesIn(manual, "\\.TP\n\\.BI? \"?(--[a-z][a-z-]*)"), options);
    const auto settings = offered("--set ");
    EXPECT_GE(settings.size(), 9U);
    for (const auto& setting : settings) {
        const std::string name = setting.substr(0, setting.find('='));
        EXPECT_THAT(namesIn(help.substr(help.find("\nSettings:")), "([A-Za-z]+)"), Contains(name));
        EXPECT_THAT(namesIn(manual.substr(manual.find(".SH SETTINGS")), "([A-Za-z]+)"), Contains(name));
    }
}

TEST_F(Installed, BashCompletesDevicesInstrumentsAndFiles) {
    EXPECT_THAT(offered("--device nu"), ElementsAre("null"));
    EXPECT_THAT(offered("--headless --device=nu"), ElementsAre("null"));
    EXPECT_THAT(offered("--set midiBackend=ja"), ElementsAre("jack"));
    EXPECT_THAT(offered("--set outputDevice=nu"), ElementsAre("null"));
    EXPECT_THAT(offered("--send /om/no"), ElementsAre("/om/note"));
    EXPECT_THAT(offered("--send /om/note 6050 "), ElementsAre(""));
    const std::string scale = folder.write("my scale.scl", ""), mapping = folder.write("my keys.kbm", "");
    const std::string begin = folder.path / "my\\ ";
    EXPECT_THAT(offered("--check x.scl " + begin), testing::UnorderedElementsAre(scale, mapping));
    EXPECT_THAT(offered("--set tuning=" + begin), ElementsAre(scale));
    const Lv2Bundles bundles;
    bundles.add("good");
    bundles.rename("good", "good: the better");
    EXPECT_THAT(printed("$0 --list-instruments"), HasSubstr("zelvane: trying good: the better\n"));
    EXPECT_THAT(offered("--set musicDevice=go"), ElementsAre("good:\\ the\\ better"));
    EXPECT_THAT(offered("--set musicDevice=good:\\ th"), ElementsAre("\\ the\\ better"));
    EXPECT_THAT(offered("--set 'musicDevice=good: th"), ElementsAre("musicDevice=good: the better"));
}

}  // namespace
}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Text.h"
#include "Platform/Foundation/TextFile.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaController.h"
#include "Tests/Fakes/CommaLocale.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <numeric>

namespace zelvane {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr auto kScale = "! comment\nThree steps\n3\n2.0\n7.0\n12.0\n";
constexpr auto kMapping = "3\n0\n126\n60\n60\n440.0\n3\n0\n1\n2\n";
const fs::path kScales = fs::path(ZELVANE_TEST_DATA) / "scales";

class ScalaControllerTest : public testing::Test {
  protected:
    ScalaControllerTest() {
        _defaults.registerDefaults({{"tuning", PropertyList{std::string("default tuning")}},
                                    {"keymap", PropertyList{std::string("default keyboard mapping")}}});
        // What the user stored is not what is registered.
        _defaults.set("tuning", PropertyList{std::string("mine.scl")});
    }
    std::string file(const std::string& name, std::string_view content) { return _folder.write(name, content); }

    void rebuild() {
        _scala.setTuningIsChanged(true);
        _scala.setKeymapIsChanged(true);
        _scala.updateMicromidiMap();
    }

    TemporaryFolder _folder;
    UserDefaults _defaults{_folder.path / "defaults.plist"};
    std::vector<Error> _errors;
    LogLines _log;
    const ScalaController::ErrorPresenter _present = [this](const Error& error) { _errors.push_back(error); };
    ScalaController _scala{_defaults, _present};
};

struct Key {
    double exact;
    float rounded;
    std::uint32_t midic;
};

struct Table {
    std::string scale, mapping;
    std::vector<Key> keys;
};

std::vector<Table> readTables() {
    std::ifstream file(kScales / "tables.txt");
    std::vector<Table> tables;
    std::size_t size = 0;
    for (Table table; file >> table.scale >> table.mapping >> size; tables.push_back(table)) {
        table.keys.resize(size);
        for (auto& [exact, rounded, midic] : table.keys) file >> exact >> rounded >> midic;
    }
    return tables;
}

void expectKeys(const ScalaController& scala, const Table& table) {
    ASSERT_EQ(scala.micromidiMap().size(), table.keys.size());
    for (std::uint32_t key = 0; key < table.keys.size(); ++key) {
        const auto [exact, rounded, midic] = table.keys[key];
        EXPECT_NEAR(scala.micromidiMap()[key], exact, 3e-6 * std::max(128.0, std::fabs(exact))) << "key " << key;
        EXPECT_EQ(scala.micromidiMap()[key], rounded) << "key " << key;
        EXPECT_EQ(scala.mapMidiKey(key), midic) << "key " << key;
    }
}

void expectTables(const UserDefaults& defaults, const ScalaController::ErrorPresenter& present) {
    const auto tables = readTables();
    ASSERT_GE(tables.size(), 30U);
    for (const Table& table : tables) {
        SCOPED_TRACE(table.scale + " with " + table.mapping);
        ScalaController scala(defaults, present);
        EXPECT_TRUE(scala.openTuning(table.scale == "-" ? "" : kScales / (table.scale + ".scl")));
        EXPECT_TRUE(scala.openKeymap(table.mapping == "-" ? "" : kScales / (table.mapping + ".kbm")));
        scala.setKeymapIsChanged(true);
        scala.updateMicromidiMap();
        EXPECT_FALSE(scala.keymapIsChanged());
        expectKeys(scala, table);
    }
}

TEST_F(ScalaControllerTest, KeyTablesAreWhatTheScaleAndMappingGiveInEveryLocale) {
    expectTables(_defaults, _present);
    const CommaLocale locale;
    expectTables(_defaults, _present);
}

TEST_F(ScalaControllerTest, BuildsOnlyOnceAskedAndOnlyWhenSomethingChanged) {
    EXPECT_EQ(_scala.micromidiMap().size(), 127U);
    EXPECT_EQ(_scala.mapMidiKey(126), 12600U);
    EXPECT_THROW(static_cast<void>(_scala.mapMidiKey(127)), RangeError);

    EXPECT_TRUE(_scala.openTuning(file("three.scl", kScale)));
    EXPECT_TRUE(_scala.openKeymap(file("three.kbm", kMapping)));
    _scala.updateMicromidiMap();
    EXPECT_EQ(_scala.mapMidiKey(61), 6100U);
    _scala.setTuningIsChanged(true);
    _scala.updateMicromidiMap();
    EXPECT_EQ(_scala.mapMidiKey(61), 6200U);
    EXPECT_EQ(_scala.mapMidiKey(0), 0U) << "180 semitones below key 60 is below zero";
    EXPECT_FALSE(_scala.tuningIsChanged());
}

TEST_F(ScalaControllerTest, DefaultsComeFromTheirTextsWithoutAFile) {
    for (const std::string tuning : {"", "default tuning"}) {
        ASSERT_TRUE(_scala.readTuning(kScale, "three.scl"));
        EXPECT_TRUE(_scala.openTuning(tuning));
        EXPECT_EQ(_scala.tuningMap().back(), "12.000000");
        EXPECT_EQ(_scala.description(), "Three steps");
    }
    for (const std::string keymap : {"", "default keyboard mapping"}) {
        ASSERT_TRUE(_scala.readKeymap(kMapping, "three.kbm"));
        EXPECT_TRUE(_scala.openKeymap(keymap));
        EXPECT_EQ(_scala.keyMap().back(), 11);
    }
    EXPECT_FALSE(_scala.openTuning(std::nullopt));
    EXPECT_FALSE(_scala.openKeymap(std::nullopt));
    EXPECT_THAT(_errors, IsEmpty());
    EXPECT_FALSE(_scala.openTuning("mine.scl"));
    EXPECT_EQ(_errors.size(), 1U);
}

TEST_F(ScalaControllerTest, LinesCountUnlessEmptyOrBegunByAnExclamationMark) {
    EXPECT_TRUE(_scala.readTuning("\n!x\nName\n\n2\n!\n\n1.0\n !2.0\n3.0", ""));
    EXPECT_THAT(_scala.tuningMap(), ElementsAre("1.0", " !2.0", "3.0"));
    EXPECT_TRUE(_scala.readTuning("\r\n1\r\n2.0\r\n", ""));
    EXPECT_EQ(_scala.description(), "\r");
    EXPECT_THAT(_scala.tuningMap(), ElementsAre("2.0\r"));
    // Without a description the count takes its place.
    EXPECT_TRUE(_scala.readTuning("\n2\n1.0\n12.0\n", ""));
    EXPECT_EQ(_scala.description(), "2");
    EXPECT_EQ(_scala.tuningMapLength(), 1);
}

struct Refused {
    bool isScale;
    std::string text;
    int code;
    std::string end;
};

TEST_F(ScalaControllerTest, RefusesShortFilesInFixedWords) {
    const std::string tuning = R"("Not sufficient info to set up a Tuning table"; need at least )";
    const std::string keymap = R"(Not sufficient info to set up a Keymap; need at least )";
    const Refused cases[] = {
        {true, "! nothing\n", 3, tuning + "2 parameters, found 0"},
        {true, "Name\n", 3, tuning + "2 parameters, found 1"},
        {true, "Name\n12\n1.\n2.\n3.\n4.\n5.\n6.\n7.\n8.\n9.\n10.\n11.\n", 4, tuning + "1 interval, found 6"},
        {true, "Name\n2000000000\n1.0\n", 4, tuning + "1 interval, found -4"},
        {false, "", 3, keymap + "7 parameters, found 0"},
        {false, "12\n0\n127\n0\n69\n440\n", 3, keymap + "7 parameters, found 6"},
        {false, "12\n0\n127\n0\n69\n440\n12\n0\n1\n2\n3\n4\n", 4, keymap + "1 key, found 5"},
    };
    for (const auto& [isScale, text, code, end] : cases) {
        SCOPED_TRACE(text);
        const std::string path = _folder.write("short", text);
        EXPECT_FALSE(isScale ? _scala.openTuning(path) : _scala.openKeymap(path));
        const std::string file = formatted(isScale ? "tuning file %@" : "keyboard mapping file %@", {path});
        EXPECT_EQ(_log.all().back(), formatted("ScalaController: [%@] reading %@ reported error %@",
                                               {isScale ? "openTuning:" : "openKeymap:", file, end}));
        // The alert quotes the phrase for both kinds, the log only for scales.
        const std::string quoted = isScale ? end : '"' + std::string(end).insert(end.find(';'), "\"");
        EXPECT_EQ(_errors.back(), (Error{isScale ? "MIDITuningConfiguration" : "MIDIKeyboardConfiguration", code,
                                         formatted("Sorry, reading %@ reported error %@", {file, quoted})}));
    }
    EXPECT_EQ(_errors.size(), std::size(cases));
}

TEST_F(ScalaControllerTest, RefusesWhatIsNoTextFileAndKeepsWhatItHad) {
    file("large", std::string(kLargestTextFile + 1, ' '));
    for (const std::string bad : {"\xE9", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82"})
        file("bytes" + std::to_string(int{bad[0]} & 0xFF), "Tune " + bad);
    ASSERT_EQ(mkfifo((_folder.path / "pipe").c_str(), 0600), 0);
    fs::create_symlink("loop", _folder.path / "loop");
    const std::pair<const char*, const char*> cases[] = {
        {"missing", "No such file or directory"},
        {"", "Is a directory"},
        {"loop", "Too many levels of symbolic links"},
        {"large", "File too large"},
        {"pipe", "Not a regular file"},
        {"/dev/zero", "Not a regular file"},
        {"bytes233", "Not UTF-8 text"},
        {"bytes192", "Not UTF-8 text"},
        {"bytes237", "Not UTF-8 text"},
        {"bytes244", "Not UTF-8 text"},
        {"bytes226", "Not UTF-8 text"},
    };
    for (const auto& [name, reason] : cases) {
        const std::string path = _folder.path / name;
        const std::string end = path + " reported error \"" + reason + '"';
        EXPECT_FALSE(_scala.openTuning(path));
        EXPECT_EQ(_log.all().back(), "ScalaController: [openTuning:] reading tuning file " + end);
        EXPECT_EQ(_errors.back(), (Error{"MIDITuningConfiguration", 2, "Sorry, reading tuning file " + end}));
        EXPECT_FALSE(_scala.openKeymap(path));
        EXPECT_EQ(_log.all().back(), "ScalaController: [openKeymap:] reading keyboard mapping file " + end);
        EXPECT_EQ(_errors.back(),
                  (Error{"MIDIKeyboardConfiguration", 2, "Sorry, reading keyboard mapping file " + end}));
    }
    const std::string noName("a\0b", 3);
    EXPECT_FALSE(_scala.openTuning(noName));
    EXPECT_EQ(_errors.back(), (Error{"MIDITuningConfiguration", 1, "Sorry, unable to find tuning file " + noName}));
    EXPECT_FALSE(_scala.openKeymap(noName));
    EXPECT_EQ(_log.all().back(), "ScalaController: [openKeymap:] unable to find keyboard mapping file a\\x00b");
    rebuild();
    EXPECT_EQ(_scala.mapMidiKey(127), 12700U);
}

TEST_F(ScalaControllerTest, ReadsAByteOrderMarkAndTheLargestFile) {
    std::string text =
        "\xEF\xBB\xBFGamme temp\xC3\xA9r\xC3\xA9"
        "e\n1\n0.5";
    EXPECT_TRUE(_scala.openTuning(file("mark.scl", text)));
    EXPECT_EQ(_scala.description(),
              "Gamme temp\xC3\xA9r\xC3\xA9"
              "e");
    text.resize(kLargestTextFile, '9');
    EXPECT_TRUE(_scala.openTuning(file("largest.scl", text)));
}

TEST_F(ScalaControllerTest, HalfReadFilesAreWhatTheNextBuildUses) {
    EXPECT_FALSE(_scala.readTuning("Half\n12\n0.5\n", "half.scl"));
    rebuild();
    EXPECT_FALSE(_scala.tuningIsChanged()) << "the missing intervals count as 0";
    EXPECT_EQ(_scala.mapMidiKey(60) - _scala.mapMidiKey(59), 0U);
    EXPECT_EQ(_scala.mapMidiKey(61) - _scala.mapMidiKey(60), 50U);

    EXPECT_FALSE(_scala.readKeymap("2\n0\n127\n60\n", "half.kbm"));
    rebuild();
    EXPECT_TRUE(_scala.keymapIsChanged()) << "the old keys went with the new map size";
}

struct Unbuildable {
    std::string scale, mapping;
    std::vector<float>::difference_type rewritten;
    std::string reason;
};

TEST_F(ScalaControllerTest, RangeErrorsEndABuildAndNothingElse) {
    const std::string keys = "\n60\n60\n440\n3\n0\n1\n2\n";
    const Unbuildable cases[] = {
        {"Bare\n3\n2.0\n3\n12.0\n", kMapping, 2, "the interval \"3\" has neither a decimal point nor a slash"},
        {"Extra\n3\n2.0\n7.0\n12.0\n14.0\n", "4\n0\n126\n60\n60\n440\n3\n0\n1\n2\n4\n", 3,
         "interval 4 is not in the scale of 3"},
        {kScale, "3\n0\n126\n60\n60\n440\n3\n0\n1\n-3\n", 2, "interval 0 is not in the scale of 3"},
        {"Empty\n0\n", kMapping, 0, "interval 0 is not in the scale of 0"},
        {"Negative\n-3\n", kMapping, 0, "interval -3 is not in the scale of -3"},
        {kScale, "0\n0\n126" + keys, 0, "the keyboard mapping has a map size of 0"},
        {kScale, "-3\n0\n126" + keys, 1, "the keyboard mapping has no entry -5 for key 1"},
        {kScale, "5\n0\n126" + keys, 3, "the keyboard mapping has no entry 3 for key 3"},
        {kScale, "3\n-1\n126" + keys, 0, "key -1 is outside the key table"},
        {kScale, "3\n128\n130" + keys, 0, "key 128 is outside the key table"},
        {kScale, "3\n0\n2147483647" + keys, 126, "key 1024 is outside the key table"},
        {kScale, "3\n-2147483648\n0\n2147483647\n60\n440\n3\n0\n1\n2\n", 0, "key -2147483648 is outside"},
        {kScale, "3\n10\n12\n60\n-1\n440\n3\n0\n1\n2\n", 3, "the reference key -1 is outside the key table"},
        {kScale, "3\n10\n12\n60\n1e30\n440\n3\n0\n1\n2\n", 3, "the reference key 2147483647 is outside"},
        {kScale, "1\n0\n126\n0\n0\n440\n0\n0\n", 3, "interval 4 is not in the scale of 3"},
    };
    for (const auto& [scale, mapping, rewritten, reason] : cases) {
        SCOPED_TRACE(scale + mapping);
        ScalaController scala(_defaults, _present);
        const auto before = scala.micromidiMap();
        scala.readTuning(scale, "");
        scala.readKeymap(mapping, "");
        scala.setTuningIsChanged(true);
        const LogLines log;
        scala.updateMicromidiMap();
        ASSERT_EQ(log.all().size(), 1U);
        EXPECT_THAT(log.all()[0],
                    HasSubstr("ScalaController: [updateMicromidiMap] unable to build the key table: " + reason));
        EXPECT_TRUE(scala.tuningIsChanged());
        EXPECT_FALSE(scala.keymapIsChanged());
        EXPECT_THROW(scala.buildMicromidiMap(), RangeError);
        const auto& after = scala.micromidiMap();
        EXPECT_EQ(std::inner_product(before.begin(), before.end(), after.begin(), std::ptrdiff_t{0}, std::plus<>(),
                                     std::not_equal_to<>()),
                  rewritten);
        scala.restoreTuningMap();
        scala.restoreKeymap();
        scala.updateMicromidiMap();
        EXPECT_EQ(scala.mapMidiKey(127), 12700U);
    }
}

TEST_F(ScalaControllerTest, PitchesOutsideTheRangeOfMidicsAreHeldToIt) {
    // Key 0 plays the last interval, which the reference then moves to where it belongs.
    ASSERT_TRUE(_scala.readKeymap("4\n0\n3\n0\n0\n440\n4\n0\n1\n2\n3\n", ""));
    ASSERT_TRUE(_scala.readTuning("Far\n4\n-0.4\n1.0e30\n0/1\n12.0\n", ""));
    rebuild();
    EXPECT_EQ(_scala.mapMidiKey(0), 0U);
    EXPECT_EQ(_scala.mapMidiKey(1), 0U) << "-0.4 semitones";
    EXPECT_EQ(_scala.mapMidiKey(2), std::numeric_limits<std::uint32_t>::max());
    EXPECT_EQ(_scala.mapMidiKey(3), 0U) << "a ratio of 0 is infinitely low";
}

TEST_F(ScalaControllerTest, PitchArithmeticGoesThroughTheReference) {
    EXPECT_NEAR(_scala.midiToFreq(60), 261.62557F, 1e-4);
    EXPECT_EQ(_scala.midiToFreq(8.32216549F), 13.2220469F) << "octaves are rounded to single precision";
    EXPECT_NEAR(_scala.freqToMidi(-880), 81, 1e-5);
    EXPECT_NEAR(_scala.calculateTuningCents("3/2 ! fifth"), 7.01955F, 1e-5);
    EXPECT_EQ(_scala.calculateTuningCents("3/2 ! 701.955"), 3.0F);
    EXPECT_EQ(_scala.calculateTuningCents("nan."), 0.0F);
    ASSERT_TRUE(_scala.readKeymap("1\n0\n127\n0\n60.7\n440\n1\n0\n", ""));
    EXPECT_NEAR(_scala.ratioToCents(1), -9, 1e-5) << "440 Hz at key 60 is nine semitones off";
    EXPECT_NEAR(_scala.centsToRatio(_scala.ratioToCents(1.25F)), 1.25, 1e-5);
}

}  // namespace
}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Preferences/TuningPicture.h"
#include "Sources/Preferences/TuningPlot.h"
#include "Tests/Sources/PreferencesDialog.h"

namespace zelvane {
namespace {

using testing::DoubleNear;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kQuarter = "quarters\n 2\n 0.5\n 1.0\n";
constexpr const char* kUpsideDown = "12\n0\n127\n60\n69\n430.5\n12\n11\n10\n9\n8\n7\n6\n5\n4\n3\n2\n1\n0\n";

TEST_F(PreferencesDialog, KeepsAPrivateCopyOfATuningThatWasLoadedOnOK) {
    const auto file = writeScale("third.scl", kWide);
    for (const bool isAccepted : {false, true}) {
        open();
        EXPECT_EQ(run([&] {
                      load("loadTuningButton", file);
                      EXPECT_EQ(textOf("tuning"), "third.scl");
                      EXPECT_FALSE(std::filesystem::exists(copyOf("third.scl")));
                      EXPECT_FLOAT_EQ(pitchOfKey(61), 61) << "the table is built on OK";
                      click(isAccepted ? "okButton" : "cancelButton");
                  }),
                  isAccepted);
        EXPECT_EQ(std::filesystem::exists(copyOf("third.scl")), isAccepted);
        EXPECT_EQ(kept("tuning"), isAccepted ? std::optional<std::string>(copyOf("third.scl")) : std::nullopt);
        EXPECT_EQ(pitchOfKey(61) != 61, isAccepted);
    }
    EXPECT_EQ(TemporaryFolder::read(copyOf("third.scl")), kWide);
    EXPECT_THAT(rig.application.errors, IsEmpty());
    open();
    EXPECT_EQ(textOf("tuning"), "third.scl");
}

TEST_F(PreferencesDialog, LeavesAllAsItWasWhenAFileIsRefused) {
    open();
    EXPECT_EQ(run([&] {
                  load("loadTuningButton", writeScale("broken.scl", "nothing else\n"));
                  ASSERT_THAT(rig.application.errors, SizeIs(1));
                  EXPECT_EQ(rig.application.errors[0].domain, "MIDITuningConfiguration");
                  load("loadTuningButton", writeScale("scale.txt", kWide));
                  EXPECT_THAT(rig.application.errors, SizeIs(2)) << "names can be typed";
                  EXPECT_EQ(textOf("tuning"), "default tuning");
                  click("okButton");
              }),
              1);
    EXPECT_EQ(kept("tuning"), std::nullopt);
}

TEST_F(PreferencesDialog, ReplacesTheCopyByAFileOfTheSameName) {
    loadAndAccept("loadTuningButton", writeScale("mine.scl", kWide));
    std::filesystem::create_directories(folder.path / "scales/other");
    const std::string marked = "\xEF\xBB\xBF" + std::string(kNarrow);
    loadAndAccept("loadTuningButton", folder.write("scales/other/mine.scl", marked));
    EXPECT_EQ(TemporaryFolder::read(copyOf("mine.scl")), marked) << "byte by byte";
    EXPECT_EQ(TemporaryFolder::read(folder.path / "scales/mine.scl"), kWide);
    loadAndAccept("loadTuningButton", writeScale("another.scl", kWide));
    EXPECT_FALSE(std::filesystem::exists(copyOf("mine.scl"))) << "the earlier copy goes";
    EXPECT_EQ(kept("tuning"), copyOf("another.scl"));
}

TEST_F(PreferencesDialog, DoesNotLoseACopyThatIsChosenItself) {
    loadAndAccept("loadTuningButton", writeScale("mine.scl", kWide));
    loadAndAccept("loadTuningButton", copyOf("mine.scl"));
    EXPECT_EQ(TemporaryFolder::read(copyOf("mine.scl")), kWide);
    // One of that folder that was not the saved one.
    folder.write("config/Zelvane/other.scl", kNarrow);
    loadAndAccept("loadTuningButton", copyOf("other.scl"));
    EXPECT_EQ(TemporaryFolder::read(copyOf("other.scl")), kNarrow);
    EXPECT_FALSE(std::filesystem::exists(copyOf("mine.scl")));
    // A link to the copy, and a copy that is a link.
    std::filesystem::create_symlink(copyOf("other.scl"), folder.path / "scales/other.scl");
    loadAndAccept("loadTuningButton", folder.path / "scales/other.scl");
    EXPECT_EQ(TemporaryFolder::read(copyOf("other.scl")), kNarrow);
    std::filesystem::remove(copyOf("other.scl"));
    std::filesystem::create_symlink(writeScale("master.scl", kWide), copyOf("other.scl"));
    std::filesystem::remove(folder.path / "scales/other.scl");
    loadAndAccept("loadTuningButton", writeScale("other.scl", kNarrow));
    EXPECT_EQ(TemporaryFolder::read(copyOf("other.scl")), kNarrow);
    EXPECT_EQ(TemporaryFolder::read(folder.path / "scales/master.scl"), kWide);
}

TEST_F(PreferencesDialog, ResetDeletesTheCopyButLeavesTheFieldAsItIs) {
    loadAndAccept("loadKeymapButton", writeScale("MINE.KBM", kUpsideDown));
    EXPECT_EQ(TemporaryFolder::read(copyOf("MINE.KBM")), kUpsideDown);
    EXPECT_EQ(kept("keymap"), copyOf("MINE.KBM"));
    EXPECT_EQ(kept("tuning"), std::nullopt);
    EXPECT_NE(pitchOfKey(61), 61);
    loadAndAccept("loadTuningButton", writeScale("mine.scl", kWide));
    open();
    EXPECT_EQ(run([&] {
                  click("resetTuningButton");
                  click("resetKeymapButton");
                  EXPECT_EQ(textOf("tuning"), "mine.scl");
                  EXPECT_EQ(textOf("keymap"), "MINE.KBM");
                  EXPECT_TRUE(std::filesystem::exists(copyOf("mine.scl")));
                  click("okButton");
              }),
              1);
    EXPECT_FALSE(std::filesystem::exists(copyOf("mine.scl")));
    EXPECT_FALSE(std::filesystem::exists(copyOf("MINE.KBM")));
    EXPECT_EQ(defaults.string("tuning"), "default tuning");
    EXPECT_EQ(defaults.string("keymap"), "default keyboard mapping");
    EXPECT_EQ(kept("tuning"), std::nullopt) << "a text of the present language is not kept";
    EXPECT_NEAR(pitchOfKey(61), 61, 1e-4);
}

TEST_F(PreferencesDialog, KeepsTheSavedFileWhenTheNewOneCannotBeCopied) {
    loadAndAccept("loadTuningButton", writeScale("mine.scl", kWide));
    const auto file = writeScale("late.scl", kNarrow);
    open();
    EXPECT_EQ(run([&] {
                  load("loadTuningButton", file);
                  std::filesystem::remove(file);
                  click("okButton");
              }),
              1);
    ASSERT_THAT(rig.application.errors, SizeIs(1));
    EXPECT_THAT(rig.application.errors[0].description, HasSubstr("late.scl"));
    EXPECT_EQ(kept("tuning"), copyOf("mine.scl"));
    EXPECT_EQ(TemporaryFolder::read(copyOf("mine.scl")), kWide);
}

TEST_F(PreferencesDialog, KeepsTheSavedFileWhenThereIsNoPlaceForACopy) {
    const auto file = writeScale("mine.scl", kWide);
    std::filesystem::create_directories(copyOf("mine.scl") / "folder");
    loadAndAccept("loadTuningButton", file);
    ASSERT_THAT(rig.application.errors, SizeIs(1));
    EXPECT_EQ(defaults.string("tuning"), "default tuning");
    for (const auto& entry : std::filesystem::directory_iterator(copyOf("")))
        EXPECT_THAT(entry.path().filename().string(), testing::AnyOf("mine.scl", "Zelvane.plist"));
}

TEST_F(PreferencesDialog, ShowsTheDefaultForAnEmptySettingAndHarmsNoFolder) {
    defaults.set("tuning", {""});
    defaults.set("keymap", {""});
    open();
    EXPECT_EQ(textOf("tuning"), "default tuning");
    EXPECT_EQ(textOf("keymap"), "default keyboard mapping");
    EXPECT_EQ(runAndClick("okButton"), 1);
    EXPECT_TRUE(std::filesystem::exists(copyOf("Zelvane.plist")));
    EXPECT_EQ(defaults.string("tuning"), "default tuning");
}

TEST_F(PreferencesDialog, PicturesWhatIsLoadedAtOnce) {
    open();
    auto& plot = widget<TuningPlot>("tuningPlot");
    EXPECT_THAT(plot.picture().degrees, SizeIs(12));
    EXPECT_THAT(plot.accessibleDescription().toStdString(), HasSubstr("12 degrees in a period of 1"));
    run([&] {
        load("loadTuningButton", writeScale("quarters.scl", kQuarter));
        EXPECT_THAT(plot.picture().degrees, ElementsAre(0, 50));
        EXPECT_THAT(plot.picture().period, DoubleNear(100, 1e-3));
        EXPECT_THAT(plot.accessibleDescription().toStdString(), HasSubstr("quarters\n2 degrees"));
        const auto quarters = plot.picture();
        click("resetTuningButton");
        EXPECT_NE(plot.picture(), quarters);
        EXPECT_THAT(plot.accessibleDescription().toStdString(), testing::Not(HasSubstr("quarters")));
        click("cancelButton");
    });
}

/// What the scale and the mapping of these texts look like.
TuningPicture pictureOf(const std::string& scale, const std::string& mapping = {}) {
    const TemporaryFolder folder;
    const UserDefaults defaults(folder.path / "defaults.plist");
    ScalaController tuning(defaults, [](const Error&) {});
    tuning.readTuning(scale, "a.scl");
    if (!mapping.empty()) tuning.readKeymap(mapping, "a.kbm");
    return tuningPicture(tuning);
}

TEST(TuningPicture, TellsHowFarKeysAreFromEqualTemperament) {
    const auto flat = pictureOf("x\n12\n1.\n2.\n3.\n4.\n5.\n6.\n7.\n8.\n9.\n10.\n11.\n12.\n",
                                "12\n0\n127\n60\n69\n415.304697\n12\n0\n1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n");
    ASSERT_THAT(flat.deviations, SizeIs(128));
    EXPECT_THAT(flat.range()->first, DoubleNear(flat.range()->second, 0.1));
    const auto just = pictureOf("x\n3\n5/4\n3/2\n2/1\n", "3\n0\n127\n60\n69\n440\n3\n0\n1\n2\n");
    EXPECT_THAT(just.degrees, ElementsAre(0, DoubleNear(386.3, 0.1), DoubleNear(702.0, 0.1)));
    EXPECT_THAT(just.period, DoubleNear(1200, 0.1));
    EXPECT_THAT(just.deviations[61] - just.deviations[60], DoubleNear(286.3, 0.1));
}

TEST(TuningPicture, DrawsWhatFilesShouldNotHold) {
    EXPECT_THAT(pictureOf("x\n0\n").degrees, ElementsAre(0));
    EXPECT_GT(pictureOf("x\n2\nfoo\n-3.0\n").period, 0);
    const auto refused = pictureOf("x\n2000000000\n1.0\n");
    EXPECT_TRUE(refused.hasMoreDegrees);
    EXPECT_LE(refused.degrees.size(), kLargestPicturedScale);
    EXPECT_THAT(pictureOf("x\n1\nfoo\n").deviations, IsEmpty());
    for (const char* scale : {"x\n0\n", "x\n2\nfoo\n1e30.\n", "x\n1\nfoo\n", "x\n2\n1e-30.\n1e-30.\n", kQuarter}) {
        TuningPlot plot;
        plot.setPicture(pictureOf(scale), QStringLiteral("a\nlong %1 description"));
        plot.resize(plot.minimumSizeHint());
        EXPECT_FALSE(plot.grab().isNull());
    }
}

}  // namespace
}  // namespace zelvane

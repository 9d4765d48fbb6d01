// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaReport.h"
#include "Tests/Fakes/CommaLocale.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <sstream>

namespace zelvane {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

class ScalaReport : public testing::Test {
  protected:
    bool check(const std::vector<std::string>& paths) {
        report.str("");
        complaints.str("");
        return reportScalaFiles(paths, defaults, report, complaints);
    }

    std::ptrdiff_t lines() const {
        const std::string text = report.str();
        return std::count(text.begin(), text.end(), '\n');
    }

    TemporaryFolder folder;
    UserDefaults defaults{folder.path / "defaults.plist"};
    std::ostringstream report, complaints;
};

TEST_F(ScalaReport, WritesIntervalsAndTheTableOfBothFiles) {
    const CommaLocale locale;
    const auto scale = folder.write("quarter.scl", "Fifths\n2\n3/2\n2/1\n");
    const auto mapping = folder.write("two.KBM", "2\n0\n127\n60\n60\n261.625565\n2\n0\n1\n");
    EXPECT_TRUE(check({scale, mapping}));
    EXPECT_EQ(lines(), 1 + 1 + 2 + 1 + 2 + 128);
    EXPECT_THAT(report.str(),
                AllOf(HasSubstr("description: Fifths\ninterval 1: 3/2 = 7.0195"), HasSubstr("map size: 2\nkeys: 0 1\n"),
                      HasSubstr("\n60 60 6000\n"), HasSubstr("\n61 67.0195"), HasSubstr("\n0 -300 0\n")));
    EXPECT_THAT(complaints.str(), IsEmpty());
    // Two scales: which table would it be?
    EXPECT_TRUE(check({scale, scale}));
    EXPECT_EQ(lines(), 8);
}

TEST_F(ScalaReport, TellsWhatSurprisesComposers) {
    EXPECT_FALSE(check({folder.write("bare.scl", "Cents\r\n2\r\n702.0\r\n2\r\n")}));
    EXPECT_THAT(complaints.str(),
                AllOf(HasSubstr("interval 2 can't be built"), HasSubstr("702.0"), HasSubstr("semitones"),
                      HasSubstr("carriage returns"), HasSubstr("no key table can be built")));
    EXPECT_THAT(report.str(), HasSubstr("interval 2: 2\\x0D = ? semitones\n"));
    EXPECT_FALSE(check({folder.write("short.kbm", "12\n0\n")}));
    EXPECT_THAT(complaints.str(), HasSubstr("need at least 7 parameters, found 2"));
    EXPECT_FALSE(check({folder.path / "missing.scl", folder.write("notes.txt", "")}));
    EXPECT_THAT(complaints.str(), AllOf(HasSubstr("missing.scl"), HasSubstr("neither a .scl nor a .kbm")));
    EXPECT_EQ(lines(), 2);
}

}  // namespace
}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/PropertyList.h"
#include "Tests/Fakes/CommaLocale.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <limits>
#include <string>

namespace zelvane {

namespace {

using testing::HasSubstr;

PropertyList text(const std::string& value) {
    return {value};
}

std::string document(const std::string& value) {
    return "<?xml version=\"1.0\"?><plist version=\"1.0\">" + value + "</plist>";
}

std::string repeated(const std::string& part, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) all += part;
    return all;
}

PropertyList::Dictionary everyKind() {
    const auto largest = std::numeric_limits<std::int64_t>::max();
    return {{"yes", {true}},
            {"no", {false}},
            {"numbers", {PropertyList::Array{{std::int64_t{-5}}, {largest}, {-largest - 1}, {0.1}, {-1.5e-300}}}},
            {"Ünïcode & <tags>", text("a\n\t\"quoted\" & <b>]]> 音")},
            {"not UTF-8", text("/music/\xE9tude.scl")},
            {"blanks", text("  kept  ")},
            {"empty", text("")},
            {"data", {PropertyList::Data{std::byte{0}, std::byte{255}, std::byte{10}}}},
            {"nothing", {PropertyList::Data{}}},
            {"lists", {PropertyList::Array{{PropertyList::Array{}}, {PropertyList::Dictionary{}}}}},
            {"", text("empty key")}};
}

TEST(PropertyListTest, EveryKindOfValueComesBackInEveryLocale) {
    const PropertyList list{everyKind()};
    const std::string xml = serializePropertyList(list);
    Error error;
    EXPECT_EQ(parsePropertyList(xml, error), list);
    const CommaLocale locale;
    EXPECT_EQ(serializePropertyList(list), xml);
    EXPECT_EQ(parsePropertyList(xml, error), list);
    EXPECT_EQ(error, Error{});
}

TEST(PropertyListTest, ReadsWhatOtherProgramsWrite) {
    Error error;
    EXPECT_EQ(
        parsePropertyList(
            "\xEF\xBB\xBF\n" + document("<string><![CDATA[<array>]]>&amp;&#xE9;<!-- </string> --></string>"), error),
        text("<array>&é"));
    EXPECT_EQ(parsePropertyList(document("<date>2020-02-29T12:34:56Z</date>"), error), text("2020-02-29T12:34:56Z"));
    EXPECT_EQ(parsePropertyList(document("<integer>18446744073709551615</integer>"), error),
              (PropertyList{std::numeric_limits<std::int64_t>::max()}));
    EXPECT_EQ(serializePropertyList(text(std::string("a\0b", 3))), serializePropertyList(text("a\uFFFDb")));
}

TEST(PropertyListTest, RefusesWithAReasonWhatItCannotReadWhole) {
    const std::pair<std::string, const char*> cases[] = {
        {"", "no XML"},
        {"bplist00\x08", "binary"},
        {"3000", "no XML"},
        {std::string("<plist>\0</plist>", 16), "zero byte"},
        {std::string(kLargestPropertyList, ' ') + " <plist/>", ""},
        {document("<string>" + std::string(kLargestPropertyList, 'x') + "</string>"), "16 MiB"},
        {document(""), "missing or malformed"},
        {document("<dict><true/></dict>"), "missing or malformed"},
        {document("<array><string>a</array>"), "an end stands"},
        {document("<array>\n\n<string>a</string>"), "line 3"},
        {document("<array>1</array>"), "text between"},
        {document("<array><![CDATA[1]]></array>"), "text between"},
        {document("<array><spreadsheet/></array>"), "unknown element"},
        {document("<string><array/></string>"), "may not"},
        {document("<plist><true/></plist>"), "may not"},
        {document("<true/>") + document("<true/>"), "may not"},
        {document("<!-- <true/>"), "\"-->\" is missing"},
        {"<plist><!DOCTYPE p [<!ENTITY a \"b\">]><string>&a;</string></plist>", "bracket"},
        {"<?xml version=\"1.0", "\"?>\" is missing"},
        {document("<string>&nothing;</string>"), "malformed"},
    };
    for (const auto& [xml, reason] : cases) {
        Error error;
        EXPECT_EQ(parsePropertyList(xml, error), std::nullopt) << xml.substr(0, 80);
        EXPECT_EQ(error.code, 2);
        EXPECT_THAT(error.description, HasSubstr(reason));
    }
}

TEST(PropertyListTest, DepthIsCountedAsTheParserBehindSeesIt) {
    Error error;
    const auto nested = [](int depth) { return repeated("<array>", depth) + repeated("</array>", depth); };
    EXPECT_TRUE(parsePropertyList(document(nested(256)), error));
    EXPECT_FALSE(parsePropertyList(document(nested(257)), error));
    EXPECT_THAT(error.description, HasSubstr("256 levels"));
    EXPECT_FALSE(parsePropertyList(document(repeated("<array a='b'>", 100000)), error));
    // Many values side by side, and tags that are no tags, are not deep.
    EXPECT_TRUE(parsePropertyList(document("<array>" + repeated("<array/><dict></dict>", 5000) + "</array>"), error));
    EXPECT_TRUE(parsePropertyList(document("<!--" + repeated("<array>", 5000) + "--><true/>"), error));
    EXPECT_TRUE(parsePropertyList(document("<string><![CDATA[" + repeated("<dict>", 5000) + "]]></string>"), error));
    // Real nesting behind what one reader takes for a comment and another for a quotation.
    const std::string deep = nested(50000);
    EXPECT_FALSE(parsePropertyList("<?xml \"?><!-- \" ?>" + document(deep) + "-->", error));
    EXPECT_FALSE(parsePropertyList("<plist a='><!--'>" + deep + "<!-- --></plist>", error));
    EXPECT_FALSE(parsePropertyList("<?xml?><!DOCTYPE plist [ <!--]> " + deep + "--> ]><plist><true/></plist>", error));
}

class PropertyListFileTest : public testing::Test {
  protected:
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.path / "made" / "here" / "settings.plist";
    Error error;
};

TEST_F(PropertyListFileTest, WritesThroughLinksIntoFoldersItMakes) {
    const auto link = folder.path / "link.plist";
    std::filesystem::create_symlink("made/here/settings.plist", link);
    EXPECT_TRUE(writePropertyListFile(link, text("one"), error));
    struct stat status {};
    ASSERT_EQ(stat((folder.path / "made").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
    ASSERT_EQ(chmod(file.c_str(), 0640), 0);
    EXPECT_TRUE(writePropertyListFile(link, text("two"), error));
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
    EXPECT_EQ(readPropertyListFile(file, error), text("two"));
}

TEST_F(PropertyListFileTest, AFailedWriteLeavesTheOldFileAndNothingElse) {
    ASSERT_TRUE(writePropertyListFile(file, text("old"), error));
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit original{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &original), 0);
    const rlimit tight{1000, original.rlim_max};  // the device is full after a kilobyte
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
    EXPECT_FALSE(writePropertyListFile(file, text(std::string(5000, 'x')), error));
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &original), 0);
    EXPECT_EQ(error.code, 3);
    EXPECT_THAT(error.description, HasSubstr(file.string()));

    PropertyList deep{PropertyList::Array{}};
    for (int level = 0; level < 300; ++level) deep = {PropertyList::Array{deep}};
    EXPECT_FALSE(writePropertyListFile(file, deep, error));

    EXPECT_EQ(readPropertyListFile(file, error), text("old"));
    const std::filesystem::directory_iterator entries(file.parent_path());
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

TEST_F(PropertyListFileTest, TellsMissingFilesFromUnreadableOnes) {
    EXPECT_FALSE(readPropertyListFile(file, error));
    EXPECT_EQ(error.code, 1);
    EXPECT_FALSE(readPropertyListFile(folder.path, error));
    EXPECT_EQ(error.code, 2);
    ASSERT_EQ(mkfifo((folder.path / "pipe").c_str(), 0600), 0);
    EXPECT_FALSE(readPropertyListFile(folder.path / "pipe", error));
    EXPECT_EQ(error.code, 2);
    std::filesystem::create_symlink("loop", folder.path / "loop");
    EXPECT_FALSE(readPropertyListFile(folder.path / "loop", error));
    EXPECT_EQ(error.code, 2);
    EXPECT_FALSE(writePropertyListFile(folder.path / "loop", text("x"), error));
    EXPECT_FALSE(writePropertyListFile(folder.write("file", "") / "below.plist", text("x"), error));
    EXPECT_THAT(error.description, HasSubstr("Not a directory"));
}

}  // namespace

}  // namespace zelvane

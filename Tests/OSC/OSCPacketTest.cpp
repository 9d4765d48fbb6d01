// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/OSC/OSCPacket.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string_view>

namespace zelvane {
namespace {

using namespace std::string_literals;
using Value = OSCArgument::Value;

/// Parses from a block of exactly that size, so that the sanitizers see every byte read too many.
OSCParseResult parse(const std::string& text) {
    const auto block = std::make_unique<std::byte[]>(text.size());
    std::memcpy(block.get(), text.data(), text.size());
    return parseOSCPacket({block.get(), text.size()});
}

std::string serialize(const OSCMessage& message) {
    const auto bytes = serializeOSCMessage(message);
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string sizeBefore(const std::string& text) {
    const auto size = static_cast<char16_t>(text.size());
    return "\0\0"s + static_cast<char>(size >> 8) + static_cast<char>(size & 255) + text;
}

std::string bundle(const std::string& elements) {
    return "#bundle\0\0\0\0\0\0\0\0\1"s + elements;
}

std::string nested(std::size_t depth) {
    std::string packet = bundle("");
    for (std::size_t level = 1; level < depth; ++level) packet = bundle(sizeBefore(packet));
    return packet;
}

const std::string kNote = "/om/note\0\0\0\0,iiii\0\0\0\0\0\x17\xA2\0\0\0\x64\0\0\3\xE8\0\0\0\1"s;

TEST(OSCPacket, ReadsNumbersAndStrings) {
    auto note = parse(kNote);
    ASSERT_TRUE(note.isPacket()) << note.reason();
    EXPECT_EQ(note.packet().message(), (OSCMessage{"/om/note", {Value(6050), Value(100), Value(1000), Value(1)}}));

    auto mixed = parse(
        "/vesk.\xC2\xB5q/fifos\0,hfdsS\0\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE\x3F\x80\0\0\xBF\xF0\0\0\0\0\0\0abc\0abcd\0\0\0\0"s);
    ASSERT_TRUE(mixed.isPacket()) << mixed.reason();
    EXPECT_EQ(mixed.packet().message(),
              (OSCMessage{"/vesk.µq/fifos",
                          {Value(std::int64_t{-2}), Value(1.0F), Value(-1.0), Value("abc"), Value("abcd")}}));
}

TEST(OSCPacket, KeepsTheTagsOfWhatIsNeitherNumberNorString) {
    auto result = parse("/a\0\0,b[t]crmTFNIi\0\0\0\0\0\0\5abcde\0\0\0\0\0\0\0\0\0\0\1\0\0\0c\0\0\0\0\0\0\0\0\0\0\0\7"s);
    ASSERT_TRUE(result.isPacket()) << result.reason();
    const auto& arguments = result.packet().message().arguments;
    const std::string tags = "b[t]crmTFNI";
    ASSERT_EQ(arguments.size(), tags.size() + 1);
    for (std::size_t index = 0; index < tags.size(); ++index) {
        EXPECT_EQ(arguments[index], Value(OSCOpaque{tags[index]}));
    }
    EXPECT_EQ(arguments.back().intValue(), 7);
}

TEST(OSCPacket, TakesAnAddressAloneForAMessageWithoutArguments) {
    for (const auto& text : {"/vesk.\xC2\xB5q/start\0"s, "/vesk.\xC2\xB5q/start\0,\0\0\0"s}) {
        auto result = parse(text);
        ASSERT_TRUE(result.isPacket()) << result.reason();
        EXPECT_EQ(result.packet().message(), (OSCMessage{"/vesk.µq/start", {}}));
    }
    EXPECT_TRUE(parse("/\xFF\xB5\0"s).isPacket());
}

TEST(OSCPacket, ReadsBundlesInOrder) {
    auto result = parse(bundle(sizeBefore(kNote) + sizeBefore(bundle(sizeBefore("/b\0\0"s))) + sizeBefore("/c\0\0"s)));
    ASSERT_TRUE(result.isPacket()) << result.reason();
    const auto children = result.packet().childPackets();
    ASSERT_EQ(children.size(), 3U);
    EXPECT_EQ(children[0].message().address, "/om/note");
    EXPECT_TRUE(children[0].childPackets().empty());
    ASSERT_EQ(children[1].childPackets().size(), 1U);
    EXPECT_EQ(children[1].childPackets()[0].message().address, "/b");
    EXPECT_EQ(children[2].message().address, "/c");
    EXPECT_EQ(std::get<OSCBundle>(result.packet().content).timeTag, 1U);
    EXPECT_TRUE(parse(nested(16)).isPacket());
}

TEST(OSCPacket, RefusesEverythingElseWithTheReason) {
    const std::pair<std::string, std::string> table[] = {
        {"", "empty packet"},
        {"/a\0"s, "size is not a multiple of 4"},
        {"om/note\0"s, "address does not begin with /"},
        {"\0\0\0\0"s, "address does not begin with /"},
        {"/abc"s, "string without an end"},
        {"/a\0x"s, "string is not padded with zeros"},
        {"/om/note\0\0\0\0\0\0\x17\xA2"s, "no type tags"},
        {"/a\0\0,iii"s, "string without an end"},
        {"/a\0\0,i\0x\0\0\0\1"s, "string is not padded with zeros"},
        {"/a\0\0,i\0\0"s, "truncated"},
        {"/a\0\0,d\0\0\0\0\0\0"s, "truncated"},
        {"/a\0\0,t\0\0\0\0\0\0"s, "truncated"},
        {"/a\0\0,m\0\0"s, "truncated"},
        {"/a\0\0,s\0\0"s, "string without an end"},
        {"/a\0\0,s\0\0abcd"s, "string without an end"},
        {"/a\0\0,b\0\0\0\0\0\5abcd"s, "blob reaches beyond its packet"},
        {"/a\0\0,b\0\0\xFF\xFF\xFF\xFF"s, "blob reaches beyond its packet"},
        {"/a\0\0,i\0\0\0\0\0\1\0\0\0\2"s, "more bytes than the type tags tell of"},
        {"/a\0\0,x\0\0"s, "unknown type tag 'x'"},
        {"/a\0\0,]\0\0"s, "array brackets do not match"},
        {"/a\0\0,[[]\0\0\0\0"s, "array brackets do not match"},
        {"/a\0\0,"s + std::string(65'540, 'T') + "\0\0\0"s, "too many arguments"},
        {"#bundle"s + "\0"s, "truncated"},
        {"#bungle\0\0\0\0\0\0\0\0\1"s, "neither address nor bundle"},
        {"#bun"s, "neither address nor bundle"},
        {bundle("\0\0\0\4"s), "bundle element reaches beyond its packet"},
        {bundle("\xFF\xFF\xFF\xFC/a\0\0"s), "bundle element reaches beyond its packet"},
        {bundle("\0\0\0\2/a\0\0"s), "size is not a multiple of 4"},
        {bundle("\0\0\0\0"s), "empty packet"},
        {bundle(sizeBefore(kNote) + sizeBefore("/a\0\0,x\0\0"s)), "unknown type tag 'x'"},
        {nested(17), "bundles nested too deeply"},
    };
    for (const auto& [bytes, reason] : table) {
        const auto result = parse(bytes);
        ASSERT_FALSE(result.isPacket()) << reason;
        EXPECT_EQ(result.reason(), reason);
    }
}

TEST(OSCPacket, RefusesEveryCutAndSurvivesEveryChangedByte) {
    const std::string whole = bundle(sizeBefore(kNote) + sizeBefore("/a\0\0,bs\0\0\0\0\3abc\0xyz\0"s));
    ASSERT_TRUE(parse(whole).isPacket());
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const bool endsAtAnElement = size == 16 || size == 16 + 4 + kNote.size();
        EXPECT_EQ(parse(whole.substr(0, size)).isPacket(), endsAtAnElement) << size;
    }
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const char byte : {'\0', '\1', '\x7F', '\x80', '\xFF', '/', '#', ',', 's', 'b', '['}) {
            std::string changed = whole;
            changed[at] = byte;
            parse(changed);
        }
    }
}

TEST(OSCSerialization, PadsToFourBytes) {
    EXPECT_EQ(serialize({"/vesk.mq/more", {}}), "/vesk.mq/more\0\0\0,\0\0\0"s);
    EXPECT_EQ(serialize({"/om/note", {Value(6050), Value(100), Value(1000), Value(1)}}), kNote);
    EXPECT_EQ(serialize({"/abc", {Value("a\0b"s), Value(OSCOpaque{'T'}), Value(1.0F)}}),
              "/abc\0\0\0\0,sf\0a\0\0\0\x3F\x80\0\0"s);
}

TEST(OSCSerialization, IsReadBackAsItWas) {
    for (std::size_t length = 0; length < 9; ++length) {
        const std::string text(length, 'x');
        const OSCMessage message{"/" + text,
                                 {Value(text), Value(-5), Value(std::int64_t{-1} << 40), Value(-0.25F), Value(1e-300)}};
        auto result = parse(serialize(message));
        ASSERT_TRUE(result.isPacket()) << result.reason();
        EXPECT_EQ(result.packet().message(), message);
    }
}

}  // namespace
}  // namespace zelvane

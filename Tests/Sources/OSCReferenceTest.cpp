// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/OSC/OSCPacket.h"
#include "Tests/Fakes/DecoderRig.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/MarkdownTable.h"

#include <gmock/gmock.h>

#include <iomanip>
#include <set>
#include <sstream>

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAreArray;

std::vector<std::vector<std::string>> table(const std::string& head) {
    return markdownTable(ZELVANE_SOURCES "/Documentation/osc-reference.md", head);
}

OSCArgument argument(char typeTag, std::istream& words) {
    if (typeTag == 'T') return {OSCOpaque{'T'}};
    std::string word;
    words >> std::quoted(word);
    switch (typeTag) {
        case 'i':
            return {std::int32_t{std::stoi(word)}};
        case 'h':
            return {std::int64_t{std::stoll(word)}};
        case 'f':
            return {std::stof(word)};
        case 'd':
            return {std::stod(word)};
        default:
            EXPECT_EQ(typeTag, 's');
            return {word};
    }
}

/// From the words that oscsend takes; the mark of a bundle stands for a bundle in a bundle.
OSCPacket packetFrom(const std::string& text) {
    if (text == "#bundle") return {OSCBundle{1, {OSCPacket{OSCBundle{}}}}};
    std::istringstream words(text);
    OSCMessage message;
    std::string typeTags;
    words >> message.address >> typeTags;
    for (const char typeTag : typeTags) message.arguments.push_back(argument(typeTag, words));
    return {message};
}

void sendAt(DecoderRig& rig, Duration date, const std::string& text) {
    rig.rig.at(date, [&rig, packet = packetFrom(text)] {
        rig.decoder->oscConnection(rig.decoder->connection(), packet, "127.0.0.1", 5000);
    });
}

/// As the reference writes it: "unit 5: `90 3C 64`, `80 3C 00`", without the third byte of a program change.
std::string whatArrived(DecoderRig& rig) {
    std::map<std::string, std::vector<int>> units;
    for (int number = 1; number <= 10; ++number) {
        std::ostringstream text;
        text << std::hex << std::uppercase << std::setfill('0');
        for (const PlayedEvent& event : rig.eventsOf(number)) {
            text << (text.tellp() > 0 ? ", `" : "`") << std::setw(2) << int{event.status} << ' ' << std::setw(2)
                 << int{event.data1};
            if ((event.status & 0xF0) != 0xC0) text << ' ' << std::setw(2) << int{event.data2};
            text << '`';
        }
        if (text.tellp() > 0) units[text.str()].push_back(number);
    }
    if (units.empty()) return "nothing";
    EXPECT_THAT(units, SizeIs(1));
    const auto& [events, numbers] = *units.begin();
    const std::string first = std::to_string(numbers.front()), last = std::to_string(numbers.back());
    return (numbers.size() == 1 ? "unit " + first : "units " + first + " to " + last) + ": " + events;
}

TEST(OSCReference, NamesAllAddressesThatThePlayerKnows) {
    std::vector<std::string> documented;
    for (const auto& row : table("| Address | Arguments | Meaning |")) documented.push_back(codeOf(row[0]).front());
    EXPECT_THAT(documented, ElementsAreArray(OSCDecoder::addresses()));
    const auto sent = table("| Address | Arguments | When |");
    ASSERT_THAT(sent, SizeIs(1));
    EXPECT_EQ(sent[0][0], "`/vesk.mq/more`");
}

TEST(OSCReference, ItsExamplesAreTakenAndReachTheInstrumentAsWritten) {
    std::set<std::string> shown;
    for (const auto& row : table("| Message | MIDI |")) {
        DecoderRig rig;
        LogLines log;
        const std::string message = codeOf(row[0]).front();
        shown.insert(message.substr(0, message.find(' ')));
        sendAt(rig, 10ms, message);
        rig.rig.renderUntil(1500ms);
        EXPECT_EQ(whatArrived(rig), row[1]) << message;
        EXPECT_EQ(rig.engine.counters().refusedMessages, 0U) << message;
        EXPECT_THAT(log.of("OSCDecoder"), IsEmpty());
    }
    EXPECT_THAT(shown, UnorderedElementsAreArray(OSCDecoder::addresses())) << "an example for each";
}

TEST(OSCReference, WhatItSaysIsRefusedIsRefusedInThoseWords) {
    const auto rows = table("| Message | Line in the log |");
    EXPECT_THAT(rows, SizeIs(testing::Gt(10)));
    for (const auto& row : rows) {
        DecoderRig rig;
        LogLines log;
        sendAt(rig, 10ms, codeOf(row[0]).front());
        rig.rig.renderUntil(50ms);
        EXPECT_THAT(log.of("OSCDecoder"), ElementsAre("OSCDecoder: [gotOSCPacket:] " + codeOf(row[1]).front()));
        EXPECT_EQ(rig.engine.counters().refusedMessages, 1U) << row[0];
        EXPECT_EQ(whatArrived(rig), "nothing");
    }
    const auto unreadable = table("| Bytes | Reason |");
    EXPECT_THAT(unreadable, SizeIs(testing::Gt(5)));
    for (const auto& row : unreadable) {
        std::istringstream bytes(codeOf(row[0]).front());
        std::vector<std::byte> packet;
        for (unsigned byte = 0; bytes >> std::hex >> byte;) packet.push_back(static_cast<std::byte>(byte));
        auto parsed = parseOSCPacket(packet);
        EXPECT_EQ(parsed.isPacket() ? "" : parsed.reason(), codeOf(row[1]).front()) << row[0];
    }
}

TEST(OSCReference, TheLatencyIsAsItSays) {
    const auto rows = table("| Period in frames | Milliseconds from arrival to the device |");
    EXPECT_THAT(rows, SizeIs(5));
    for (const auto& row : rows) {
        DecoderRig rig(static_cast<std::uint32_t>(std::stoul(row[0])));
        sendAt(rig, 100ms, "/om/note iiii 6000 100 100 1");
        rig.rig.renderUntil(300ms);
        ASSERT_THAT(rig.notes(), SizeIs(1));
        const double milliseconds = static_cast<double>(rig.notes().front().frame) / 48;
        EXPECT_NEAR(milliseconds - 100, std::stod(row[1]), 0.1) << row[0];
    }
}

TEST(OSCReference, TheStreamOfItsExampleIsPlayedAtTheDatesAndPitchesThatItGives) {
    DecoderRig rig;
    for (const auto& row : table("| Arrives at (ms) | Message |"))
        sendAt(rig, 100ms + std::chrono::milliseconds(std::stoi(row[0])), codeOf(row[1]).front());
    std::vector<std::pair<double, int>> written, played;
    for (const auto& row : table("| Date (ms) | Midic |")) written.emplace_back(std::stod(row[0]), std::stoi(row[1]));
    rig.rig.renderUntil(6s);
    const auto latency = static_cast<double>(rig.rig.platform.graph.eventLatencyFrames());
    for (int number = 10; number >= 1; --number) {
        for (const PlayedEvent& event : rig.eventsOf(number)) {
            if ((event.status & 0xF0) != 0x90) continue;
            const double date = (static_cast<double>(event.frame) - latency) / 48 - 100;
            played.emplace_back(std::round(date * 10) / 10, event.data1 * 100 + (10 - number) * 10);
        }
    }
    std::sort(played.begin(), played.end());
    EXPECT_THAT(played, ElementsAreArray(written));
}

}  // namespace
}  // namespace zelvane

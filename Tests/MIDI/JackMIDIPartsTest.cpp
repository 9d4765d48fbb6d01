// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Jack/JackMIDIRing.h"
#include "Platform/MIDI/MessageAssembler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace zelvane {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(JackMIDIRing, keepsOrderAcrossThreadsAndItsEnd) {
    JackMIDIRing ring(1024);
    constexpr std::uint32_t kEvents = 50000;
    const auto bytesOf = [](std::uint32_t number) {
        return Bytes(number * 7 % 300, static_cast<std::uint8_t>(number));
    };
    std::jthread writer([&] {
        for (std::uint32_t i = 0; i < kEvents;) {
            if (ring.push({i, TimePoint(Duration(i)), bytesOf(i)})) {
                ++i;
            } else {
                std::this_thread::yield();
            }
        }
    });
    for (std::uint32_t i = 0; i < kEvents;) {
        const auto event = ring.front();
        if (!event) {
            std::this_thread::yield();
            continue;
        }
        ASSERT_EQ(event->number, i);
        ASSERT_EQ(event->time, TimePoint(Duration(i)));
        ASSERT_EQ(Bytes(event->bytes.begin(), event->bytes.end()), bytesOf(i));
        ring.pop();
        ++i;
    }
    EXPECT_FALSE(ring.front());
}

TEST(JackMIDIRing, countsWhatItCantTake) {
    JackMIDIRing ring(128);
    const Bytes note = {0x90, 60, 100};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(ring.push({0, {}, note}), i < 4);
    EXPECT_EQ(ring.takeLost(), 2U);
    EXPECT_EQ(ring.takeLost(), 0U);
    ASSERT_TRUE(ring.front());
    ring.pop();
    EXPECT_TRUE(ring.push({0, {}, note}));
    EXPECT_FALSE(ring.push({0, {}, note}));
}

std::vector<Bytes> assembled(const std::vector<Bytes>& pieces) {
    MessageAssembler assembler;
    std::vector<Bytes> messages;
    for (const Bytes& piece : pieces) {
        assembler.add(piece, [&](auto message) { messages.emplace_back(message.begin(), message.end()); });
    }
    return messages;
}

TEST(MessageAssembler, makesWholeMessages) {
    using Messages = std::vector<Bytes>;
    EXPECT_EQ(assembled({{0x90, 1, 2, 0xC3, 4, 0xE5, 6, 7}}), (Messages{{0x90, 1, 2}, {0xC3, 4}, {0xE5, 6, 7}}));
    EXPECT_EQ(assembled({{0xF1, 1, 0xF2, 2, 3, 0xF3, 4, 0xF6, 0xFF}}),
              (Messages{{0xF1, 1}, {0xF2, 2, 3}, {0xF3, 4}, {0xF6}, {0xFF}}));
    EXPECT_EQ(assembled({{0xF0, 1}, {2, 0xF8}, {0xF7}, {0xF7}}), (Messages{{0xF8}, {0xF0, 1, 2, 0xF7}}));
    EXPECT_EQ(assembled({{0x90, 1}, {2}, {3, 4}}), (Messages{{0x90, 1, 2}}));
    EXPECT_EQ(assembled({{0xF0, 1}, {0x80, 2, 3}, {4, 0xF7}, {0xF4, 1, 0xF5, 2}}), (Messages{{0x80, 2, 3}}));
}

TEST(MessageAssembler, cutsWhatIsTooLong) {
    std::vector<Bytes> pieces(300, Bytes(256, 1));
    pieces.front().front() = 0xF0;
    pieces.push_back({0xF7});
    pieces.push_back({0xB0, 1, 2});
    const auto messages = assembled(pieces);
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[0].size(), MessageAssembler::kLongest);
    EXPECT_EQ(messages[0].back(), 0xF7);
}

}  // namespace
}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Text.h"
#include "Tests/Fakes/CommaLocale.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace zelvane {

namespace {

TEST(TextTest, FormattedFillsEveryKindOfPlaceholderAndSurvivesDamagedOnes) {
    EXPECT_EQ(formatted("OSCDecoder: [%@] %d of %ld, %u%%, %.2f", {"note:", "1", "2", "3", "4.5"}),
              "OSCDecoder: [note:] 1 of 2, 3%, 4.5");
    EXPECT_EQ(formatted("status %d '%-4.4s'|%6s|%.1s", {"-10879", "abcdef", "ab", "xyz"}),
              "status -10879 'abcd'|    ab|x");
    EXPECT_EQ(formatted("%@ and %@", {"%@ %d"}), "%@ %d and (null)");
    EXPECT_EQ(formatted("plain", {"unused"}), "plain");
    EXPECT_EQ(formatted("100% %y %-", {"a"}), "100% %y %-");
    EXPECT_EQ(formatted("%", {"a"}), "%");
    EXPECT_EQ(formatted("%99999999999999999999s", {"a"}).size(), 1024U);
    EXPECT_EQ(formatted("%.99999999999999999999s%.s|", {"a", "b"}), "a|");
}

TEST(TextTest, PrintableKeepsTextAndEscapesWhatMayNotReachALine) {
    EXPECT_EQ(printable("/vesk.µq/fifos – 音 🎵"), "/vesk.µq/fifos – 音 🎵");
    EXPECT_EQ(printable(std::string_view("a\nb\tc\r\0\x1b[31m\x7f", 13)), "a\\nb\\tc\\x0D\\x00\\x1B[31m\\x7F");
    EXPECT_EQ(printable("\xC2\x85\xE2\x80\xA8\xE2\x80\xAE"), "\\xC2\\x85\\xE2\\x80\\xA8\\xE2\\x80\\xAE");
    // Cut short, overlong, surrogate, beyond the last character, lone continuation.
    EXPECT_EQ(printable("\xE2\x82"), "\\xE2\\x82");
    EXPECT_EQ(printable("\xC0\x8A.\xE0\x80\x8A"), "\\xC0\\x8A.\\xE0\\x80\\x8A");
    EXPECT_EQ(printable("\xED\xA0\x80"), "\\xED\\xA0\\x80");
    EXPECT_EQ(printable("\xF4\x90\x80\x80\xFF"), "\\xF4\\x90\\x80\\x80\\xFF");
    EXPECT_EQ(printable("\xA9x"), "\\xA9x");
}

TEST(TextTest, FourCharactersOfAStatus) {
    EXPECT_EQ(fourCharacters(0x666D743F), "fmt?");
    EXPECT_EQ(fourCharacters(static_cast<std::uint32_t>(-10879)), "????");
    EXPECT_EQ(fourCharacters(0x20007E7F), " ?~?");
}

void expectNumbers() {
    EXPECT_EQ(integerPrefix(" \t\n+42 apples"), 42);
    EXPECT_EQ(integerPrefix("-7.9"), -7);
    EXPECT_EQ(integerPrefix("1.000"), 1);
    EXPECT_EQ(integerPrefix("apples"), 0);
    EXPECT_EQ(integerPrefix("- 1"), 0);
    EXPECT_EQ(integerPrefix("99999999999999999999"), std::numeric_limits<long long>::max());
    EXPECT_EQ(integerPrefix("-99999999999999999999"), std::numeric_limits<long long>::min());
    EXPECT_EQ(doublePrefix(" +1.5e2x"), 150);
    EXPECT_EQ(doublePrefix("3,75"), 3);
    EXPECT_EQ(doublePrefix(".5"), 0.5);
    EXPECT_EQ(doublePrefix(std::string_view("12345", 2)), 12);
    EXPECT_EQ(doublePrefix(""), 0);
    EXPECT_EQ(doublePrefix("-1e999"), -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(doublePrefix("nan")));
}

TEST(TextTest, NumbersAreTheSameInEveryLocale) {
    expectNumbers();
    const CommaLocale locale;
    expectNumbers();
}

}  // namespace

}  // namespace zelvane

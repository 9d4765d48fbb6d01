// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/OSC/OSCMessage.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace zelvane {
namespace {

using Value = OSCArgument::Value;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(OSCArgument, CutsNumbersTowardZero) {
    const std::pair<Value, std::int32_t> table[] = {
        {std::int32_t{-7}, -7},
        {6050.7F, 6050},
        {-0.9, 0},
        {-6050.7, -6050},
        {2147483647.9, 2147483647},
        {-2147483648.9, std::numeric_limits<std::int32_t>::min()},
        {std::int64_t{2147483647}, 2147483647},
    };
    for (const auto& [value, expected] : table) EXPECT_EQ(OSCArgument(value).intValue(), expected);
    EXPECT_EQ(OSCArgument(Value(60.37F)).floatValue(), 60.37F);
    EXPECT_EQ(OSCArgument(Value(std::int64_t{500})).doubleValue(), 500.0);
}

TEST(OSCArgument, HasNoValueForWhatNoIntegerHolds) {
    const Value table[] = {kNan,          kInfinity,      -kInfinity,
                           2147483648.0F, 2147483648.0,   -2147483649.0,
                           1e300,         -1e300,         std::int64_t{2147483648},
                           Value("6050"), OSCOpaque{'T'}, std::numeric_limits<std::int64_t>::min()};
    for (const auto& value : table) {
        const OSCArgument argument(value);
        EXPECT_FALSE(argument.intValue() || argument.floatValue() || argument.doubleValue()) << argument.description();
    }
}

TEST(OSCMessage, DescribesItsArgumentsInOneLine) {
    const OSCMessage message{"/om/note",
                             {Value(6050), Value(60.37F), Value(0.1), Value("two\nlines"), Value(OSCOpaque{'b'}),
                              Value(std::int64_t{1} << 40)}};
    EXPECT_EQ(message.argumentsDescription(), R"((6050, 60.37, 0.1, "two\nlines", blob, 1099511627776))");
    EXPECT_EQ(OSCMessage{}.argumentsDescription(), "()");
}

}  // namespace
}  // namespace zelvane

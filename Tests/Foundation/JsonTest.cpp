// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Json.h"
#include "Tests/Fakes/CommaLocale.h"

#include <gtest/gtest.h>

#include <cmath>

namespace zelvane {
namespace {

TEST(Json, WritesEveryKindOfValueTheSameInEveryLocale) {
    const CommaLocale german;
    const PropertyList list{PropertyList::Dictionary{
        {"z", {true}},
        {"a", {PropertyList::Array{{std::int64_t{-3}}, {2.5}, {std::nan("")}}}},
        {"b", {PropertyList::Data{std::byte{255}}}},
        {"empty", {PropertyList::Dictionary{}}},
        {"text\n", {std::string("\"µq\\\x01\xFF")}},
    }};
    EXPECT_EQ(jsonText(list), R"({
    "a": [
        -3,
        2.5,
        null
    ],
    "b": [
        255
    ],
    "empty": {},
    "text\n": "\"µq\\\u0001�",
    "z": true
}
)");
}

}  // namespace
}  // namespace zelvane

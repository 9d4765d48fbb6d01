// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaText.h"

#include "Platform/Foundation/Text.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zelvane {

namespace {

template <typename Whole>
Whole whole(float number) {
    using Limits = std::numeric_limits<Whole>;
    if (std::isnan(number)) return 0;
    // Every limit here has an exact double, which the limits as floats do not.
    return static_cast<Whole>(std::clamp<double>(number, Limits::min(), Limits::max()));
}

}  // namespace

std::vector<std::string_view> parameterLines(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        if (!line.empty() && line.front() != '!') lines.push_back(line);
        text.remove_prefix(std::min(text.size(), line.size() + 1));
    }
    return lines;
}

bool isFileName(std::string_view path) {
    return path.find('\0') == std::string_view::npos;
}

std::int32_t intValue(std::string_view text) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(integerValue(text), Limits::min(), Limits::max()));
}

std::int64_t integerValue(std::string_view text) {
    return integerPrefix(text);
}

float floatValue(std::string_view text) {
    // The C library also reads "inf", "nan" and "0x1p3", which nobody means by a word in a scale.
    constexpr std::string_view kDecimal = " \t\n\v\f\r+-.0123456789eE";
    return static_cast<float>(doublePrefix(text.substr(0, text.find_first_not_of(kDecimal))));
}

std::int32_t signedWhole(float number) {
    return whole<std::int32_t>(number);
}

std::uint32_t unsignedWhole(float number) {
    return whole<std::uint32_t>(number);
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace zelvane {

/// The lines of a .scl or .kbm text that count, in order: neither empty nor begun by "!". Only a line feed ends a line,
/// so a carriage return stays part of it, and a line that holds nothing else counts. The views point into the text.
std::vector<std::string_view> parameterLines(std::string_view text);

/// Whether a path can name a file at all.
bool isFileName(std::string_view path);

/// The decimal number at the start of the text after white space, 0 when there is none, the same in every locale. Whole
/// numbers are held to the range of their type; a real number too large for its type is infinite.
std::int32_t intValue(std::string_view text);
std::int64_t integerValue(std::string_view text);
float floatValue(std::string_view text);

/// The number cut toward zero and held to the range of the whole number's type; 0 for NaN.
std::int32_t signedWhole(float number);
std::uint32_t unsignedWhole(float number);

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zelvane {

/// Fills the placeholders of a pattern (%@ %s %d %u %ld %f %-4.4s, %% for a percent sign) with the arguments in order,
/// each given as text. A placeholder without an argument stands for "(null)", an argument without a placeholder is left
/// out: no pattern and no argument can make it fail.
std::string formatted(std::string_view pattern, const std::vector<std::string>& arguments);

/// A status as its four characters, most significant byte first; bytes that do not print become '?'.
std::string fourCharacters(std::uint32_t status);

/// The text in one line that is safe to print: control characters as \n, \t or \xNN, bytes that are no UTF-8 as \xNN.
std::string printable(std::string_view text);

/// Whether the bytes are well-formed UTF-8: nothing cut or overlong, no surrogates, nothing beyond U+10FFFF.
bool isUtf8(std::string_view bytes);

/// The number at the start of the text after white space, read like the C library's strtol/strtod but the same in every
/// locale; 0 when there is none; integers beyond 64 bits are held to their range.
long long integerPrefix(std::string_view text);
double doublePrefix(std::string_view text);

}  // namespace zelvane

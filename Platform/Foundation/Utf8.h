// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zelvane {

/// The longest beginning of a UTF-8 text that is at most `limit` bytes long and does not cut a character in two.
inline std::string cutToBytes(std::string_view text, std::size_t limit) {
    if (text.size() <= limit) return std::string(text);
    const auto continues = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; };
    while (limit > 0 && continues(text[limit])) --limit;
    return std::string(text.substr(0, limit));
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Text.h"

#include "Platform/Foundation/NumberLocale.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

namespace zelvane {

namespace {

// Wider fields than this are a damaged pattern, not a wish.
constexpr std::size_t kWidestField = 1024;

struct Placeholder {
    bool isLeftAligned = false;
    std::size_t width = 0;
    std::optional<std::size_t> precision;
    char conversion = 0;
    std::size_t length = 0;  // of the placeholder in the pattern
};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::size_t readField(std::string_view text, std::size_t& at) {
    std::size_t field = 0;
    for (; at < text.size() && isDigit(text[at]); ++at) {
        field = std::min(kWidestField, field * 10 + static_cast<std::size_t>(text[at] - '0'));
    }
    return field;
}

std::optional<Placeholder> readPlaceholder(std::string_view text) {
    Placeholder found;
    std::size_t at = 1;
    for (; at < text.size() && std::string_view("-+ #0").find(text[at]) != std::string_view::npos; ++at) {
        found.isLeftAligned |= text[at] == '-';
    }
    found.width = readField(text, at);
    if (at < text.size() && text[at] == '.') found.precision = readField(text, ++at);
    while (at < text.size() && std::string_view("hlqjzt").find(text[at]) != std::string_view::npos) ++at;
    if (at == text.size() || std::string_view("@sdiuxXcpfFgGeE").find(text[at]) == std::string_view::npos) return {};
    found.conversion = text[at];
    found.length = at + 1;
    return found;
}

void appendField(std::string& line, const Placeholder& placeholder, std::string_view argument) {
    const bool isText = placeholder.conversion == 's' || placeholder.conversion == '@';
    // The precision of a number was spent when the caller made it a text; that of a text cuts it.
    if (isText && placeholder.precision) argument = argument.substr(0, *placeholder.precision);
    const std::size_t padding = placeholder.width > argument.size() ? placeholder.width - argument.size() : 0;
    if (!placeholder.isLeftAligned) line.append(padding, ' ');
    line.append(argument);
    if (placeholder.isLeftAligned) line.append(padding, ' ');
}

/// Length of the well-formed UTF-8 character at the start of the text, 0 when there is none.
std::size_t characterLength(std::string_view text, char32_t& character) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byte(0);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    if (length == 0 || length > text.size()) return 0;
    character = length == 1 ? lead : lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80U) return 0;
        character = (character << 6U) | (byte(i) & 0x3FU);
    }
    constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    return character < kSmallest[length] || isSurrogate || character > 0x10FFFF ? 0 : length;
}

/// Controls, and the marks that end a line or turn its direction in a terminal or an editor.
bool isUnsafe(char32_t c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

void appendEscaped(std::string& line, std::string_view bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n') {
            line += "\\n";
        } else if (c == '\t') {
            line += "\\t";
        } else {
            line += {'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
        }
    }
}

/// Moves what stands at the beginning and is shown as it is, all at once: mostly that is everything.
void takePlain(std::string_view& text, std::string& line) {
    const auto isPlain = [](char character) { return character >= ' ' && character <= '~'; };
    const auto end = std::find_if_not(text.begin(), text.end(), isPlain);
    line.append(text.begin(), end);
    text.remove_prefix(static_cast<std::size_t>(end - text.begin()));
}

}  // namespace

std::string formatted(std::string_view pattern, const std::vector<std::string>& arguments) {
    std::string line;
    auto argument = arguments.begin();
    while (!pattern.empty()) {
        const std::size_t start = std::min(pattern.find('%'), pattern.size());
        line.append(pattern.substr(0, start));
        pattern.remove_prefix(start);
        if (pattern.empty()) break;
        const auto placeholder = readPlaceholder(pattern);
        if (!placeholder) {
            line += '%';
            pattern.remove_prefix(pattern.starts_with("%%") ? 2 : 1);
            continue;
        }
        appendField(line, *placeholder, argument == arguments.end() ? "(null)" : std::string_view(*argument++));
        pattern.remove_prefix(placeholder->length);
    }
    return line;
}

std::string fourCharacters(std::uint32_t status) {
    std::string characters;
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        const auto byte = (status >> shift) & 0xFFU;
        characters += byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '?';
    }
    return characters;
}

std::string printable(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    for (takePlain(text, line); !text.empty(); takePlain(text, line)) {
        char32_t character = 0;
        const std::size_t length = characterLength(text, character);
        const std::string_view bytes = text.substr(0, std::max<std::size_t>(length, 1));
        if (length == 0 || isUnsafe(character)) {
            appendEscaped(line, bytes);
        } else {
            line.append(bytes);
        }
        text.remove_prefix(bytes.size());
    }
    return line;
}

bool isUtf8(std::string_view bytes) {
    char32_t character = 0;
    while (!bytes.empty()) {
        const std::size_t length = characterLength(bytes, character);
        if (length == 0) return false;
        bytes.remove_prefix(length);
    }
    return true;
}

long long integerPrefix(std::string_view text) {
    return strtoll_l(std::string(text).c_str(), nullptr, 10, numberLocale());
}

double doublePrefix(std::string_view text) {
    return strtod_l(std::string(text).c_str(), nullptr, numberLocale());
}

}  // namespace zelvane

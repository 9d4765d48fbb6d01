// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/DesktopEntry.h"

#include <array>
#include <utility>

namespace zelvane {

namespace {

constexpr std::string_view kGroup = "[Desktop Entry]";
constexpr std::string_view kBlanks = " \t\r";

// A blank is only written so where it would otherwise get lost, at the start.
constexpr std::array<std::pair<char, char>, 4> kEscapes{{{'\\', '\\'}, {'\n', 'n'}, {'\r', 'r'}, {'\t', 't'}}};

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string escaped(std::string_view value) {
    std::string text;
    for (const char character : value) {
        char letter = 0;
        for (const auto& [meant, written] : kEscapes) letter = character == meant ? written : letter;
        if (letter != 0) text += '\\';
        text += letter != 0 ? letter : character;
    }
    if (text.starts_with(' ')) text.replace(0, 1, "\\s");
    return text;
}

std::string unescaped(std::string_view text) {
    std::string value;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            value += text[i];
            continue;
        }
        const char letter = text[++i];
        char character = letter == 's' ? ' ' : 0;
        for (const auto& [meant, written] : kEscapes) character = letter == written ? meant : character;
        // What is no escape is the backslash itself; lists escape their semicolons so.
        if (character == 0) value += '\\';
        value += character != 0 ? character : letter;
    }
    return value;
}

}  // namespace

std::optional<DesktopEntry> DesktopEntry::parse(std::string_view text) {
    DesktopEntry entry;
    bool isInGroup = false, wasFound = false;
    while (!text.empty()) {
        const std::string_view line = trimmed(text.substr(0, text.find('\n')));
        text.remove_prefix(std::min(text.find('\n'), text.size() - 1) + 1);
        if (line.starts_with('[')) {
            isInGroup = line == kGroup;
            wasFound = wasFound || isInGroup;
        }
        const auto equals = line.find('=');
        if (!isInGroup || line.starts_with('#') || equals == std::string_view::npos) continue;
        entry._values.try_emplace(std::string(trimmed(line.substr(0, equals))),
                                  unescaped(trimmed(line.substr(equals + 1))));
    }
    return wasFound ? std::optional(std::move(entry)) : std::nullopt;
}

std::string DesktopEntry::serialized() const {
    std::string text = std::string(kGroup) + "\n";
    for (const auto& [key, value] : _values) text += key + "=" + escaped(value) + "\n";
    return text;
}

std::optional<std::string> DesktopEntry::string(const std::string& key) const {
    const auto found = _values.find(key);
    return found != _values.end() ? std::optional(found->second) : std::nullopt;
}

bool DesktopEntry::listHasOneOf(const std::string& key, std::string_view names) const {
    const std::string list = ";" + string(key).value_or("") + ";";
    while (!names.empty()) {
        const std::string name(names.substr(0, names.find(':')));
        if (!name.empty() && list.find(";" + name + ";") != std::string::npos) return true;
        names.remove_prefix(std::min(names.size(), name.size() + 1));
    }
    return false;
}

std::string commandStarting(const std::string& program) {
    std::string command = "\"";
    for (const char character : program) {
        if (std::string_view("\"`$\\").find(character) != std::string_view::npos) command += '\\';
        if (character == '%') command += '%';
        command += character;
    }
    return command + "\"";
}

std::string programOfCommand(std::string_view command) {
    command = trimmed(command);
    const bool isQuoted = command.starts_with('"');
    if (isQuoted) command.remove_prefix(1);
    std::string program;
    for (std::size_t i = 0; i < command.size(); ++i) {
        const bool hasNext = i + 1 < command.size();
        if (isQuoted && command[i] == '\\' && hasNext) {
            program += command[++i];
            continue;
        }
        if (command[i] == (isQuoted ? '"' : ' ')) break;
        program += command[i];
        if (command[i] == '%' && hasNext && command[i + 1] == '%') ++i;
    }
    return program;
}

}  // namespace zelvane

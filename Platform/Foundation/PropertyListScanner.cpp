// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/PropertyListScanner.h"

#include <algorithm>
#include <array>
#include <vector>

namespace zelvane {

namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n";
constexpr std::array<std::string_view, 3> kContainers = {"plist", "dict", "array"};
constexpr std::array<std::string_view, 8> kLeaves = {"key",  "string", "integer", "real",
                                                     "data", "date",   "true",    "false"};

bool contains(const auto& names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

class Scanner {
  public:
    Scanner(std::string_view xml, std::size_t deepest) : _xml(xml), _deepest(deepest) {}

    std::optional<std::string> complaint() {
        if (_xml.find('\0') != std::string_view::npos) return "it holds a zero byte";
        while (_complaint.empty() && _at < _xml.size()) step();
        if (_complaint.empty() && !_open.empty()) complain("<" + std::string(_open.back()) + "> is never closed");
        if (_complaint.empty()) return std::nullopt;
        return _complaint;
    }

  private:
    void step() {
        const std::string_view rest = _xml.substr(_at);
        if (!rest.starts_with('<')) {
            readText();
        } else if (rest.starts_with("<!--")) {
            skipTo("-->", 4);
        } else if (rest.starts_with("<![CDATA[")) {
            readCharacterData();
        } else if (rest.starts_with("<?")) {
            readMarkup("?>", 2);
        } else if (rest.starts_with("<!DOCTYPE")) {
            readMarkup(">", 9);
        } else {
            readTag(readMarkup(">", 1));
        }
    }

    void readText() {
        const std::size_t end = std::min(_xml.find('<', _at), _xml.size());
        const bool isLoose = _xml.substr(_at, end - _at).find_first_not_of(kWhiteSpace) != std::string_view::npos;
        if (isLoose && !isInLeaf()) complain("there is text between the values");
        _at = end;
    }

    void readCharacterData() {
        if (!isInLeaf()) return complain("there is text between the values");
        skipTo("]]>", 9);
    }

    void skipTo(std::string_view end, std::size_t start) {
        const std::size_t found = _xml.find(end, _at + start);
        if (found == std::string_view::npos) return complain("\"" + std::string(end) + "\" is missing");
        _at = found + end.size();
    }

    /// What stands between the start and the end of a tag, an instruction or a document type. Where these may hold
    /// angle brackets or an open quotation mark, readers differ about where they end.
    std::string_view readMarkup(std::string_view end, std::size_t start) {
        const std::size_t from = _at + start;
        const std::size_t found = _xml.find(end, from);
        const std::string_view inside = _xml.substr(std::min(from, _xml.size()), found - from);
        if (found == std::string_view::npos) {
            complain("\"" + std::string(end) + "\" is missing");
        } else if (inside.find_first_of("<>[") != std::string_view::npos || hasOpenQuotation(inside)) {
            complain("there is a tag with a bracket or a single quotation mark inside");
        } else {
            _at = found + end.size();
        }
        return inside;
    }

    static bool hasOpenQuotation(std::string_view text) {
        char open = 0;
        for (const char c : text) {
            if (open == 0 && (c == '"' || c == '\'')) {
                open = c;
            } else if (c == open) {
                open = 0;
            }
        }
        return open != 0;
    }

    void readTag(std::string_view tag) {
        if (!_complaint.empty()) return;
        const bool isEmpty = tag.ends_with('/');
        if (isEmpty) tag.remove_suffix(1);
        const bool isEnd = tag.starts_with('/');
        if (isEnd) tag.remove_prefix(1);
        const std::string_view name = tag.substr(0, tag.find_first_of(kWhiteSpace));
        if (isEnd) {
            close(name, isEmpty);
        } else {
            open(name, isEmpty);
        }
    }

    void open(std::string_view name, bool isEmpty) {
        const bool isRoot = name == "plist";
        if (!contains(kContainers, name) && !contains(kLeaves, name)) return complain("there is an unknown element");
        if (isRoot != _open.empty() || (isRoot && _hasRoot) || isInLeaf()) {
            return complain("<" + std::string(name) + "> stands where it may not");
        }
        if (_open.size() > _deepest)
            return complain("it is nested deeper than " + std::to_string(_deepest) + " levels");
        _hasRoot = true;
        if (!isEmpty) _open.push_back(name);
    }

    void close(std::string_view name, bool isEmpty) {
        if (_open.empty() || _open.back() != name || isEmpty) return complain("an end stands where it may not");
        _open.pop_back();
    }

    bool isInLeaf() const { return !_open.empty() && contains(kLeaves, _open.back()); }

    void complain(const std::string& what) {
        const auto line = 1 + std::ranges::count(_xml.substr(0, _at), '\n');
        _complaint = "line " + std::to_string(line) + ": " + what;
    }

    const std::string_view _xml;
    const std::size_t _deepest;
    std::size_t _at = 0;
    bool _hasRoot = false;
    std::vector<std::string_view> _open;
    std::string _complaint;
};

}  // namespace

std::optional<std::string> complaintAboutXml(std::string_view xml, std::size_t deepest) {
    return Scanner(xml, deepest).complaint();
}

}  // namespace zelvane

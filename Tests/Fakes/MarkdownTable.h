// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

namespace zelvane {

/// The rows of a table of the documentation, which begins with that line, each as the texts of its cells.
inline std::vector<std::vector<std::string>> markdownTable(const std::filesystem::path& file, const std::string& head) {
    std::ifstream text(file);
    std::string line;
    while (std::getline(text, line) && line != head) {
    }
    std::getline(text, line);  // between head and rows
    std::vector<std::vector<std::string>> rows;
    while (std::getline(text, line) && line.starts_with("| ")) {
        std::vector<std::string> cells;
        for (std::size_t begin = 2, end = 0; (end = line.find(" |", begin)) != std::string::npos; begin = end + 3)
            cells.push_back(line.substr(begin, end - begin));
        rows.push_back(std::move(cells));
    }
    return rows;
}

/// What of a cell stands between backticks.
inline std::vector<std::string> codeOf(const std::string& cell) {
    static const std::regex code("`([^`]*)`");
    std::vector<std::string> all;
    for (std::sregex_iterator match(cell.begin(), cell.end(), code), end; match != end; ++match)
        all.push_back((*match)[1]);
    return all;
}

}  // namespace zelvane

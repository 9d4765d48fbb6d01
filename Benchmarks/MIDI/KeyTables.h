// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace zelvane {

/// A scale and a keyboard mapping as their files have them; empty texts mean the defaults.
struct KeyTable {
    std::string name;
    std::string scale;
    std::string mapping;
};

/// From what a player starts with to more than anybody plays.
std::vector<KeyTable> keyTables();

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/UserDefaults.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace zelvane {

/// Reads .scl and .kbm files as the player would and writes what they mean to it: descriptions, intervals, mappings,
/// and, for at most one file of each kind, the table of keys with their semitones and midics. What surprises composers
/// goes to `complaints`, like what is wrong. False when a file is refused or the table can't be built.
bool reportScalaFiles(const std::vector<std::string>& paths, const UserDefaults& defaults, std::ostream& report,
                      std::ostream& complaints);

}  // namespace zelvane

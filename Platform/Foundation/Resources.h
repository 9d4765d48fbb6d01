// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace zelvane {

/// Where the program's own file NAME.TYPE is: in "share/Zelvane" beside the folder of the program that runs, be it
/// built or installed, else in "Zelvane" in one of the data folders. None when there is no such file, and for names
/// that would lead out of the folder. Any thread.
std::optional<std::filesystem::path> resourceFile(const std::string& name, const std::string& type);

/// The page NAME of the program's help, in the first of the user's languages that has it, else in English. As above.
std::optional<std::filesystem::path> helpPage(const std::string& name);

}  // namespace zelvane

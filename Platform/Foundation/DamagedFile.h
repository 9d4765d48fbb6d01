// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace zelvane {

/// Renames a file, or what a symbolic link leads to, to a name beside it that has the present date in it, so that a new
/// one can take its place and the user can look at the old one. The new name, or none, with the reason in the system's
/// words, when the file has to stay. Any thread.
std::optional<std::filesystem::path> setAsideDamagedFile(const std::filesystem::path& file, std::string& reason);

}  // namespace zelvane

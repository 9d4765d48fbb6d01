// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace zelvane {

/// Replaces a file so that a reader, or a crash, finds the old or the new content whole. Missing folders are made for
/// the user alone; a symbolic link stays one and its target is replaced, which keeps its permissions. False on failure,
/// with the reason in the system's words; the old file is intact then and nothing is left beside it. Any thread.
bool writeFileAtomically(const std::filesystem::path& file, std::string_view bytes, std::string& reason);

/// Where the file really is: the end of a chain of symbolic links, which need not exist. None when the chain has no
/// end.
std::optional<std::filesystem::path> linkTarget(std::filesystem::path file);

}  // namespace zelvane

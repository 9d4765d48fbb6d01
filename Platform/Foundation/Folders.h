// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string_view>
#include <vector>

namespace zelvane {

/// The user's folder of all programs' settings: $XDG_CONFIG_HOME, or ~/.config.
std::filesystem::path configurationFolder();

/// The folder of settings: "Zelvane" in the user's, unless another was set. Not made here.
std::filesystem::path preferencesFolder();

/// Has this process keep its settings in another folder, as that of a session. Main thread, before anything asks for
/// the folder.
void setPreferencesFolder(std::filesystem::path folder);

/// The user's folder of data: "Zelvane" in $XDG_DATA_HOME, or in ~/.local/share. Not made here.
std::filesystem::path userSupportFolder();

/// The user's folder of what can be made again: "Zelvane" in $XDG_CACHE_HOME, or in ~/.cache. Not made here.
std::filesystem::path cacheFolder();

/// Data folders in the order in which they are searched: $XDG_DATA_HOME, then each of $XDG_DATA_DIRS.
std::vector<std::filesystem::path> dataFolders();

/// The absolute paths among those that a text has between its colons.
std::vector<std::filesystem::path> pathList(std::string_view text);

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <span>

namespace zelvane {

/// Whether the file looks like a sound font. Any control thread.
bool isSoundFont(const std::filesystem::path& file);

/// The General MIDI font that a distribution installed in one of the data folders: the one it made the default, else
/// the well-known small one, else the first of any. Any control thread.
std::optional<std::filesystem::path> findSoundFont(std::span<const std::filesystem::path> dataFolders);

}  // namespace zelvane

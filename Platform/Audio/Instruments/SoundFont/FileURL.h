// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace zelvane {

/// The path that a file URL stands for; any other text is taken for a path as it is.
std::filesystem::path pathFromFileURL(std::string_view text);

/// The file URL of an absolute path.
std::string fileURL(const std::filesystem::path& path);

}  // namespace zelvane

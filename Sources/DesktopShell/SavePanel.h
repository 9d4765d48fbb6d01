// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

/// Asks the user for the file to save to, in his folder of music unless he goes elsewhere; none when he would rather
/// not. The name gets the first type where it has none. Main thread.
std::optional<std::filesystem::path> runSavePanel(const std::string& title, const std::string& nameLabel,
                                                  const std::string& name,
                                                  const std::vector<std::string>& allowedTypes);

}  // namespace zelvane

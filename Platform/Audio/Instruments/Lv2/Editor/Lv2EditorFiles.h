// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace zelvane {

class Lv2World;

/// Where a plug-in's editor is.
struct Lv2EditorFiles {
    std::string uri;
    std::filesystem::path binary;
    std::filesystem::path bundle;
};

/// The first editor of the plug-in that is made for X servers and asks for nothing that is not offered here. Any
/// thread.
std::optional<Lv2EditorFiles> findLv2Editor(Lv2World& world, const std::string& pluginURI);

}  // namespace zelvane

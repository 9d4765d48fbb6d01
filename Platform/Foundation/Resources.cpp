// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Resources.h"

#include "Platform/Foundation/Folders.h"
#include "Platform/Foundation/LocalizedString.h"

#include <system_error>
#include <vector>

namespace zelvane {

namespace {

std::vector<std::filesystem::path> resourceFolders() {
    std::vector<std::filesystem::path> folders;
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (!error) folders.push_back(program.parent_path().parent_path() / "share");
    const auto data = dataFolders();
    folders.insert(folders.end(), data.begin(), data.end());
    return folders;
}

/// Kinds of files of which there are many have a folder of their own.
std::filesystem::path folderOfType(const std::string& type) {
    return type == "plist" ? "PropertyLists" : "";
}

bool isPlainName(const std::string& name) {
    return name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
}

std::optional<std::filesystem::path> findInFolders(const std::filesystem::path& place) {
    std::error_code error;
    for (const auto& folder : resourceFolders()) {
        auto file = folder / "Zelvane" / place;
        if (std::filesystem::is_regular_file(file, error)) return file;
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::filesystem::path> resourceFile(const std::string& name, const std::string& type) {
    if (!isPlainName(name)) return std::nullopt;
    return findInFolders(folderOfType(type) / (name + "." + type));
}

std::optional<std::filesystem::path> helpPage(const std::string& name) {
    if (!isPlainName(name)) return std::nullopt;
    auto languages = userLanguages();
    languages.emplace_back("en");
    for (const auto& language : languages) {
        if (auto page = findInFolders(std::filesystem::path("Help") / language / (name + ".html"))) return page;
    }
    return std::nullopt;
}

}  // namespace zelvane

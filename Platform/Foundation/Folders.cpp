// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Folders.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace zelvane {

namespace {

constexpr char kOurFolder[] = "Zelvane";

/// An absolute path from the environment; a relative one would mean another folder wherever the program is started.
std::filesystem::path folderFromEnvironment(const char* variable) {
    const char* value = std::getenv(variable);
    std::filesystem::path folder = value != nullptr ? value : "";
    return folder.is_absolute() ? folder : std::filesystem::path();
}

std::filesystem::path homeFolder() {
    if (auto home = folderFromEnvironment("HOME"); !home.empty()) return home;
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found);
    return found != nullptr && found->pw_dir != nullptr ? found->pw_dir : "/";
}

std::filesystem::path& otherPreferencesFolder() {
    static std::filesystem::path folder;
    return folder;
}

std::filesystem::path baseFolder(const char* variable, const char* inHome) {
    auto folder = folderFromEnvironment(variable);
    return folder.empty() ? homeFolder() / inHome : folder;
}

}  // namespace

std::filesystem::path configurationFolder() {
    return baseFolder("XDG_CONFIG_HOME", ".config");
}

std::filesystem::path preferencesFolder() {
    return otherPreferencesFolder().empty() ? configurationFolder() / kOurFolder : otherPreferencesFolder();
}

void setPreferencesFolder(std::filesystem::path folder) {
    otherPreferencesFolder() = std::move(folder);
}

std::filesystem::path userSupportFolder() {
    return baseFolder("XDG_DATA_HOME", ".local/share") / kOurFolder;
}

std::filesystem::path cacheFolder() {
    return baseFolder("XDG_CACHE_HOME", ".cache") / kOurFolder;
}

std::vector<std::filesystem::path> dataFolders() {
    std::vector<std::filesystem::path> folders{baseFolder("XDG_DATA_HOME", ".local/share")};
    const char* value = std::getenv("XDG_DATA_DIRS");
    const auto others = pathList(value != nullptr && *value != '\0' ? value : "/usr/local/share:/usr/share");
    folders.insert(folders.end(), others.begin(), others.end());
    return folders;
}

std::vector<std::filesystem::path> pathList(std::string_view text) {
    std::vector<std::filesystem::path> paths;
    while (!text.empty()) {
        const std::filesystem::path path = text.substr(0, text.find(':'));
        if (path.is_absolute()) paths.push_back(path);
        text.remove_prefix(std::min(text.size(), path.native().size() + 1));
    }
    return paths;
}

}  // namespace zelvane

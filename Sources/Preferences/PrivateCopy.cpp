// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Preferences/PrivateCopy.h"

#include "Platform/Foundation/AtomicFile.h"
#include "Platform/Foundation/Folders.h"
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"
#include "Platform/Foundation/TextFile.h"

#include <fstream>
#include <sstream>
#include <string>
#include <system_error>

namespace zelvane {

namespace {

/// A file or a link to one; never a folder, which a path without a name would mean.
void removeFile(const std::filesystem::path& file) {
    std::error_code ignored;
    if (!std::filesystem::is_directory(std::filesystem::symlink_status(file, ignored)))
        std::filesystem::remove(file, ignored);
}

bool isSameFile(const std::filesystem::path& a, const std::filesystem::path& b) {
    std::error_code error;
    return a == b || std::filesystem::equivalent(a, b, error);
}

/// As they are, a byte-order mark included; none for what is no text.
std::optional<std::string> bytesOf(const std::filesystem::path& file, std::string& reason) {
    if (!readTextFile(file, reason)) return std::nullopt;
    std::ostringstream bytes;
    bytes << std::ifstream(file, std::ios::binary).rdbuf();
    return bytes.str();
}

/// A link in that place is replaced itself, not what it leads to.
bool write(const std::filesystem::path& place, const std::string& bytes, std::string& reason) {
    const auto beside = place.parent_path() / ("." + place.filename().string() + ".new");
    if (!writeFileAtomically(beside, bytes, reason)) return false;
    std::error_code failure;
    std::filesystem::rename(beside, place, failure);
    if (!failure) return true;
    reason = failure.message();
    removeFile(beside);
    return false;
}

bool copy(const std::filesystem::path& chosen, std::string& reason) {
    const auto bytes = bytesOf(chosen, reason);
    return bytes && write(homeNameFromPath(chosen), *bytes, reason);
}

}  // namespace

std::filesystem::path homeNameFromPath(const std::filesystem::path& path) {
    return preferencesFolder() / path.filename();
}

bool replacePrivateCopy(const std::optional<std::filesystem::path>& former,
                        const std::optional<std::filesystem::path>& chosen, Error& error) {
    std::string reason;
    if (chosen && !copy(*chosen, reason)) {
        error = {"Preferences", 1,
                 formatted(localizedString("Sorry, unable to copy %@ to %@: %@"),
                           {chosen->string(), preferencesFolder().string(), reason})};
        return false;
    }
    if (former && !(chosen && isSameFile(homeNameFromPath(*former), homeNameFromPath(*chosen))))
        removeFile(homeNameFromPath(*former));
    return true;
}

}  // namespace zelvane

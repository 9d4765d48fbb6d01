// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/AudioEngine/EnabledPropertyIDsFile.h"

#include "Platform/Foundation/DamagedFile.h"
#include "Platform/Foundation/Folders.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/PropertyList.h"
#include "Platform/Foundation/Resources.h"
#include "Platform/Foundation/Utf8.h"

#include <algorithm>
#include <limits>
#include <system_error>

namespace zelvane {

namespace {

constexpr const char* kSelector = "setAudioUnitPropertyListeners:modus:log:";
constexpr std::size_t kLongestName = 200;  // bytes; file systems take 255, and a damaged file's name gets a date
constexpr int kMissing = 1;

std::optional<AudioUnitPropertyID> propertyID(const PropertyList& entry) {
    const auto* number = std::get_if<std::int64_t>(&entry.value);
    if (number == nullptr || *number < 0 || *number > std::numeric_limits<AudioUnitPropertyID>::max())
        return std::nullopt;
    return static_cast<AudioUnitPropertyID>(*number);
}

/// Fails on a file that is missing (code 1) or holds anything but numbers.
std::optional<StoredPropertyIDs> read(const std::filesystem::path& file, Error& error) {
    const auto list = readPropertyListFile(file, error);
    if (!list) return std::nullopt;
    StoredPropertyIDs stored{{}, file};
    const auto* entries = std::get_if<PropertyList::Array>(&list->value);
    for (const PropertyList& entry : entries != nullptr ? *entries : PropertyList::Array()) {
        if (const auto id = propertyID(entry)) stored.ids.push_back(*id);
    }
    if (entries != nullptr && stored.ids.size() == entries->size()) return stored;
    error = {"PropertyList", 2, file.string() + " holds no list of property IDs"};
    return std::nullopt;
}

std::optional<StoredPropertyIDs> readUsers(const std::filesystem::path& file) {
    Error error;
    auto stored = read(file, error);
    if (stored || error.code == kMissing) return stored;
    std::string reason;
    const auto kept = setAsideDamagedFile(file, reason);
    Log::write("AudioEngine+Properties: [%@] %@; %@",
               {kSelector, error.description,
                kept ? "the damaged file is kept as " + kept->string() : "it can't be set aside: " + reason});
    return std::nullopt;
}

std::optional<StoredPropertyIDs> readOthers(const std::filesystem::path& file) {
    Error error;
    auto stored = read(file, error);
    if (!stored && error.code != kMissing)
        Log::write("AudioEngine+Properties: [%@] %@", {kSelector, error.description});
    return stored;
}

std::filesystem::path localFile(const std::string& fileName) {
    std::vector<std::filesystem::path> folders = dataFolders();
    folders.erase(folders.begin());  // the user's own
    std::error_code error;
    for (const auto& folder : folders) {
        if (std::filesystem::exists(folder / "Zelvane" / fileName, error)) return folder / "Zelvane" / fileName;
    }
    return folders.empty() ? std::filesystem::path() : folders.front() / "Zelvane" / fileName;
}

}  // namespace

std::string fileNameFromInstrument(const std::string& instrument) {
    std::string name = cutToBytes(instrument, kLongestName);
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '/' || c == '\0'; }, '_');
    return name;
}

std::filesystem::path pathToEnabledPropertyIDsFile(const std::string& instrument, SearchPathDomain domain,
                                                   bool create) {
    const std::string fileName = fileNameFromInstrument(instrument) + ".plist";
    std::filesystem::path file =
        domain == SearchPathDomain::user ? userSupportFolder() / fileName : localFile(fileName);
    std::error_code ignored;
    if (create) std::filesystem::create_directories(file.parent_path(), ignored);
    return file;
}

std::optional<StoredPropertyIDs> readEnabledPropertyIDs(const std::string& instrument) {
    if (auto users = readUsers(pathToEnabledPropertyIDsFile(instrument, SearchPathDomain::user, false))) return users;
    if (auto local = readOthers(pathToEnabledPropertyIDsFile(instrument, SearchPathDomain::local, false))) return local;
    for (const std::string& name :
         {fileNameFromInstrument(instrument), std::string("Music Device Default Properties")}) {
        const auto file = resourceFile(name, "plist");
        if (!file) continue;
        if (auto stored = readOthers(*file)) return stored;
    }
    return std::nullopt;
}

void writeEnabledPropertyIDs(const std::string& instrument, const std::vector<AudioUnitPropertyID>& ids) {
    PropertyList::Array entries;
    for (const AudioUnitPropertyID id : ids) entries.emplace_back().value = std::int64_t{id};
    Error error;
    if (!writePropertyListFile(pathToEnabledPropertyIDsFile(instrument, SearchPathDomain::user, true),
                               PropertyList{std::move(entries)}, error))
        Log::write("AudioEngine+Properties: [%@] %@", {kSelector, error.description});
}

}  // namespace zelvane

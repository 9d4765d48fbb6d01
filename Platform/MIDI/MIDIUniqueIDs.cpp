// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/MIDIUniqueIDs.h"

#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/PropertyList.h"

#include <utility>

namespace zelvane {

namespace {

// Programs that name their ports by process numbers would fill the file over the years.
constexpr std::size_t kMostKept = 4096;

/// FNV-1a: spreads well over short texts, and is the same on every machine.
std::uint32_t hashOf(const std::string& text) {
    std::uint32_t hash = 2166136261U;
    for (const char character : text) hash = (hash ^ static_cast<std::uint8_t>(character)) * 16777619U;
    return hash;
}

}  // namespace

MIDIUniqueIDs::MIDIUniqueIDs(std::filesystem::path file) : _file(std::move(file)) {
    Error error;
    const auto list = readPropertyListFile(_file, error);
    const auto* entries = list ? std::get_if<PropertyList::Dictionary>(&list->value) : nullptr;
    if (entries == nullptr) return;
    for (const auto& [key, value] : *entries) {
        const auto* number = std::get_if<std::int64_t>(&value.value);
        const auto id = number != nullptr ? static_cast<std::int32_t>(*number) : 0;
        if (id != 0 && !_taken.contains(id)) keep(key, id);
    }
    _hasNews = false;
}

std::int32_t MIDIUniqueIDs::idOf(const std::string& key) {
    if (const auto known = _ids.find(key); known != _ids.end()) return known->second;
    auto id = static_cast<std::int32_t>(hashOf(key));
    for (std::string longer = key + "#"; id == 0 || _taken.contains(id); longer += '#') {
        id = static_cast<std::int32_t>(hashOf(longer));
    }
    keep(key, id);
    return id;
}

bool MIDIUniqueIDs::setID(const std::string& key, std::int32_t id) {
    const auto known = _ids.find(key);
    if (known != _ids.end() && known->second == id) return true;
    if (id == 0 || _taken.contains(id)) return false;
    if (known != _ids.end()) _taken.erase(known->second);
    keep(key, id);
    return true;
}

void MIDIUniqueIDs::keep(const std::string& key, std::int32_t id) {
    _ids[key] = id;
    _taken.insert(id);
    _hasNews = true;
}

void MIDIUniqueIDs::save() {
    if (!_hasNews || _ids.size() > kMostKept) return;
    _hasNews = false;
    PropertyList::Dictionary entries;
    for (const auto& [key, id] : _ids) entries[key] = {std::int64_t{id}};
    Error error;
    if (writePropertyListFile(_file, {std::move(entries)}, error)) return;
    Log::write("MIDIUniqueIDs: [%@] %@", {"save", error.description});
}

}  // namespace zelvane

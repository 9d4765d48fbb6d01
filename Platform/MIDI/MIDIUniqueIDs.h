// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace zelvane {

/// The numbers by which endpoints are known from one run to the next: each follows from the endpoint's key, and what
/// was given out is kept in a file, so that a number once seen stays. Used by one thread at a time.
class MIDIUniqueIDs {
  public:
    /// A file that is missing or damaged counts as empty.
    explicit MIDIUniqueIDs(std::filesystem::path file);

    /// Never 0, and never the same for two keys.
    std::int32_t idOf(const std::string& key);

    /// Gives the key another number. False when a different key has it.
    bool setID(const std::string& key, std::int32_t id);

    /// Writes the file if there is news; what can't be written is logged and stays in force for this run.
    void save();

  private:
    void keep(const std::string& key, std::int32_t id);

    const std::filesystem::path _file;
    std::map<std::string, std::int32_t> _ids;
    std::set<std::int32_t> _taken;
    bool _hasNews = false;
};

}  // namespace zelvane

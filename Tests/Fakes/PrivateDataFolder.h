// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

namespace zelvane {

/// While it lives, the user's data are in a folder of the test's own, and there are none of the machine's.
class PrivateDataFolder {
  public:
    PrivateDataFolder() {
        setenv("XDG_DATA_HOME", (_folder.path / "user").c_str(), 1);
        setenv("XDG_DATA_DIRS", (_folder.path / "local").c_str(), 1);
    }
    ~PrivateDataFolder() {
        restore("XDG_DATA_HOME", _home);
        restore("XDG_DATA_DIRS", _dirs);
    }
    PrivateDataFolder(const PrivateDataFolder&) = delete;
    PrivateDataFolder& operator=(const PrivateDataFolder&) = delete;

    std::filesystem::path user() const { return made("user"); }
    std::filesystem::path local() const { return made("local"); }

  private:
    using Value = std::optional<std::string>;

    static Value valueOf(const char* variable) {
        const char* value = std::getenv(variable);
        return value != nullptr ? Value(value) : std::nullopt;
    }
    static void restore(const char* variable, const Value& value) {
        value ? setenv(variable, value->c_str(), 1) : unsetenv(variable);
    }
    std::filesystem::path made(const char* domain) const {
        const auto folder = _folder.path / domain / "Zelvane";
        std::filesystem::create_directories(folder);
        return folder;
    }

    const Value _home = valueOf("XDG_DATA_HOME");
    const Value _dirs = valueOf("XDG_DATA_DIRS");
    TemporaryFolder _folder;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/ScopedEnvironment.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <filesystem>

namespace zelvane {

/// While it lives, the user's data are in a folder of the test's own, and there are none of the machine's.
class PrivateDataFolder {
  public:
    std::filesystem::path user() const { return made("user"); }
    std::filesystem::path local() const { return made("local"); }

  private:
    std::filesystem::path made(const char* domain) const {
        const auto folder = _folder.path / domain / "Zelvane";
        std::filesystem::create_directories(folder);
        return folder;
    }

    TemporaryFolder _folder;
    const ScopedEnvironment _environment{
        {{"XDG_DATA_HOME", _folder.path / "user"}, {"XDG_DATA_DIRS", _folder.path / "local"}}};
};

}  // namespace zelvane

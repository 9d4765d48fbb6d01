// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

namespace zelvane {

/// A folder of a test's own, which goes away with all that is in it.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "zelvane-test-XXXXXX").string();
        path = mkdtemp(name.data());
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// Writes a file in the folder and returns where it is.
    std::filesystem::path write(const std::string& name, std::string_view content) const {
        std::ofstream(path / name, std::ios::binary) << content;
        return path / name;
    }

    static std::string read(const std::filesystem::path& file) {
        std::ostringstream content;
        content << std::ifstream(file, std::ios::binary).rdbuf();
        return content.str();
    }

    std::filesystem::path path;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/TemporaryFolder.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace zelvane {

/// A folder of LV2 bundles that is all that is installed, as long as it lives: the system's vocabulary, and what a test
/// puts beside it.
class Lv2Bundles {
  public:
    Lv2Bundles() {
        std::filesystem::create_directory(folder());
        for (const char* name : {"atom", "core", "midi", "parameters", "units", "urid"}) link(name);
        ::setenv("LV2_PATH", folder().c_str(), 1);
    }
    ~Lv2Bundles() { ::unsetenv("LV2_PATH"); }

    std::filesystem::path folder() const { return _temporary.path / "lv2"; }
    std::filesystem::path cacheFile() const { return _temporary.path / "cache" / "Lv2Instruments.plist"; }

    /// A bundle of the system's.
    void link(const std::string& name) const {
        std::filesystem::create_directory_symlink("/usr/lib/lv2/" + name + ".lv2", bundle(name));
    }
    /// One of Tests/Evil.
    void add(const std::string& name) const {
        std::filesystem::copy(std::string(EVIL_BUNDLES) + "/" + name + ".lv2", bundle(name));
    }
    void remove(const std::string& name) const { std::filesystem::remove_all(bundle(name)); }

    /// Gives a plug-in another name, as a new version may.
    void rename(const std::string& name, const std::string& newName) const {
        const auto file = bundle(name) / "plugin.ttl";
        std::string text = TemporaryFolder::read(file);
        const std::string old = "\"" + name + "\"";
        text.replace(text.find(old), old.size(), "\"" + newName + "\"");
        std::ofstream(file) << text;
    }

    std::filesystem::path bundle(const std::string& name) const { return folder() / (name + ".lv2"); }

  private:
    TemporaryFolder _temporary;
};

}  // namespace zelvane

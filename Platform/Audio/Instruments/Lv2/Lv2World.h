// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Lv2Plugin.h"

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

/// The folders that bundles are looked for in: $LV2_PATH, or the usual ones.
std::vector<std::filesystem::path> lv2Folders();

/// What the files of some bundles say. It starts with the vocabulary that descriptions are read with; a bundle of a few
/// plug-ins costs milliseconds more, all that is installed costs seconds.
///
/// Any thread: one mutex stands before the library below, which is made for one thread at a time. What was made from a
/// world has to go before the world does.
class Lv2World {
  public:
    struct Library;  ///< the library's own world, for files that know it

    Lv2World();
    ~Lv2World();
    Lv2World(const Lv2World&) = delete;
    Lv2World& operator=(const Lv2World&) = delete;

    void loadBundle(const std::filesystem::path& bundle);
    /// All bundles of all folders.
    void loadAll();

    /// The URIs of all plug-ins, sorted.
    std::vector<std::string> plugins() const;
    std::optional<Lv2Plugin> plugin(const std::string& uri) const;

    /// The bundles other than its own that have presets for a plug-in, sorted.
    std::vector<std::filesystem::path> presetBundles(const std::string& uri) const;

    std::mutex& mutex() const { return _mutex; }
    /// Only with the mutex held.
    Library& library() const { return *_library; }

  private:
    mutable std::mutex _mutex;
    const std::unique_ptr<Library> _library;
};

}  // namespace zelvane

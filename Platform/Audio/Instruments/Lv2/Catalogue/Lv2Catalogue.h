// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Catalogue/CacheFile.h"
#include "Platform/Foundation/Error.h"
#include "Platform/Foundation/LimitedProcess.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace zelvane {

/// The program that touches instruments for the first time: beside this one, or where packages keep such programs.
std::filesystem::path lv2ScannerProgram();

/// All LV2 instruments that are installed, as a cache on disk remembers them. No code of theirs is run here, and none
/// of their files is read: a child process does both when bundles were added, changed or removed.
class Lv2Catalogue {
  public:
    struct Settings {
        std::filesystem::path cacheFile;
        std::filesystem::path scanner;
        ProcessLimits limits;  ///< of the trial of one instrument
    };
    using Entries = std::vector<Lv2Entry>;

    /// The user's cache, and the scanner that belongs to this program.
    static Settings usualSettings();

    /// Reads the cache.
    explicit Lv2Catalogue(Settings settings);
    /// Ends a refresh that is under way.
    ~Lv2Catalogue();
    Lv2Catalogue(const Lv2Catalogue&) = delete;
    Lv2Catalogue& operator=(const Lv2Catalogue&) = delete;

    /// What is known now. Any thread, never waits for a refresh.
    std::shared_ptr<const Entries> entries() const;

    /// Has the handler called, on any thread, when the entries have changed. When this returns the handler before it is
    /// not called any more. Any thread, but not from within a handler.
    void setChangeHandler(std::function<void()> handler);

    /// Whether the bundles are those that the cache tells of. Some milliseconds. Any thread.
    bool isCurrent() const;

    /// Brings the cache up to date in a child process and tells `onTrying` the name of each instrument that is tried.
    /// At once when it is current. False when that failed, with a line in the log. Any thread, one call at a time.
    bool refresh(const std::function<void(const std::string& name)>& onTrying = {}, const std::stop_token& stop = {},
                 int niceness = 0);

    /// The same on a thread of its own, with less of the processor than others. Once.
    void refreshInBackground();

    /// Tries an instrument again, in a process of its own; false with the reason. Any thread.
    bool test(const Lv2Entry& entry, Error& error) const;

  private:
    void reload();

    const Settings _settings;
    mutable std::mutex _mutex;
    std::shared_ptr<const Entries> _entries;  // guarded by _mutex
    std::string _stamp;                       // guarded by _mutex
    std::mutex _handlerMutex;                 // held while the handler is called
    std::function<void()> _changeHandler;     // guarded by _handlerMutex
    std::jthread _refresher;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/LimitedProcess.h"

#include <filesystem>
#include <functional>
#include <string>

namespace zelvane {

/// How the list of instruments is made anew.
struct RefreshSettings {
    std::filesystem::path cacheFile;
    std::filesystem::path scanner;
    ProcessLimits limits;  ///< of each trial
    /// Told what happens, in lines of a report.
    std::function<void(const std::string& line)> report = [](const std::string&) {};
};

/// Reads the descriptions of all that is installed, which takes seconds and trusts the files, tries what is new or has
/// changed, and writes the cache, now and then also before all is done. In a process of its own. False when the cache
/// could not be written.
bool refreshInstrumentCache(const RefreshSettings& settings);

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Lv2Entry.h"
#include "Platform/Foundation/Error.h"

#include <filesystem>
#include <string>
#include <vector>

namespace zelvane {

/// An instrument, and what its bundle looked like when it was tried.
struct CachedInstrument {
    Lv2Entry entry;
    std::string stamp;

    bool operator==(const CachedInstrument&) const = default;
};

/// What is remembered of all instruments.
struct InstrumentCache {
    std::string stamp;  ///< of all bundles; empty while some of them have not been tried
    std::vector<CachedInstrument> instruments;

    bool operator==(const InstrumentCache&) const = default;
};

/// The cache on disk. A missing one, and one of another version, is empty; a damaged one is too, after it was set aside
/// with a line in the log.
InstrumentCache readInstrumentCache(const std::filesystem::path& file);

/// Replaces it as a whole. False with the reason when the old one had to stay.
bool writeInstrumentCache(const std::filesystem::path& file, const InstrumentCache& cache, Error& error);

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace zelvane {

/// What tells a bundle from itself after a change: a digest of the names, sizes and times of its files.
using BundleStamps = std::map<std::filesystem::path, std::string>;

/// The stamps of all bundles in the folders. Reads no file, only their dates: some microseconds each. Any thread.
BundleStamps bundleStamps(const std::vector<std::filesystem::path>& folders);

/// One stamp for all of them: it differs when one was added, changed or removed.
std::string combinedStamp(const BundleStamps& stamps);

}  // namespace zelvane

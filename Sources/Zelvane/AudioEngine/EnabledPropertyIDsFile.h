// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/AudioTypes.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

/// Whose folders of data: the user's own, or those of all users of the machine.
enum class SearchPathDomain { user = 1, local = 2 };

/// A list of property IDs and the file it comes from.
struct StoredPropertyIDs {
    std::vector<AudioUnitPropertyID> ids;
    std::filesystem::path file;
};

/// The name of an instrument as that of a file in one folder.
std::string fileNameFromInstrument(const std::string& instrument);

/// Where an instrument's list is in a domain, or would be; the folder is made when that is wanted.
std::filesystem::path pathToEnabledPropertyIDsFile(const std::string& instrument, SearchPathDomain domain, bool create);

/// The list of an instrument: the user's, which is set aside with a log line when it is damaged, or the machine's, or
/// the one that comes with the program for this instrument or for all. None when there is no list at all.
std::optional<StoredPropertyIDs> readEnabledPropertyIDs(const std::string& instrument);

/// Keeps the list for the user's next runs; a failure is logged.
void writeEnabledPropertyIDs(const std::string& instrument, const std::vector<AudioUnitPropertyID>& ids);

}  // namespace zelvane

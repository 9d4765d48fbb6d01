// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Error.h"

#include <filesystem>
#include <optional>

namespace zelvane {

/// Where the private copy of a file is kept: under its name in the user's preferences folder.
std::filesystem::path homeNameFromPath(const std::filesystem::path& path);

/// Puts a private copy of the file `chosen` in the place of the one of `former`; without `chosen` that one only goes,
/// and a failure to remove it does not count. The new file is read before anything is removed, so that it may be the
/// copy itself, and a file that can't be copied costs nothing: then the answer is false, with a sentence for the user.
/// Any thread but the audio thread.
bool replacePrivateCopy(const std::optional<std::filesystem::path>& former,
                        const std::optional<std::filesystem::path>& chosen, Error& error);

}  // namespace zelvane

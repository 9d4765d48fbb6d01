// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace zelvane {

/// The largest text file that is read, in bytes.
inline constexpr std::size_t kLargestTextFile = std::size_t{4} << 20;

/// Reads a regular file of at most `kLargestTextFile` bytes of UTF-8; a byte-order mark at its start is left out.
/// A folder, pipe, socket or device is refused without being opened, so that reading neither waits nor has side
/// effects. None on failure, with the reason in the system's words. Any thread but the audio thread.
std::optional<std::string> readTextFile(const std::filesystem::path& file, std::string& reason);

}  // namespace zelvane

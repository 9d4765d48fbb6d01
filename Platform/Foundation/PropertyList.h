// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Error.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zelvane {

/// A value as it stands in a property list.
struct PropertyList {
    using Data = std::vector<std::byte>;
    using Array = std::vector<PropertyList>;
    using Dictionary = std::map<std::string, PropertyList>;

    std::variant<bool, std::int64_t, double, std::string, Data, Array, Dictionary> value;

    bool operator==(const PropertyList&) const = default;
};

/// The size from which on a property list is refused, in bytes.
inline constexpr std::size_t kLargestPropertyList = std::size_t{16} << 20;

/// Reads an XML property list of at most 16 MiB and 256 levels; anything else is an error of code 2 that says why.
/// Dates come as their text, integers beyond 64 signed bits as the largest. The locale does not matter. Any thread.
std::optional<PropertyList> parsePropertyList(std::string_view xml, Error& error);

/// The value as an XML property list. Zeros inside texts become U+FFFD.
std::string serializePropertyList(const PropertyList& list);

/// Reads a file as above. A missing file is an error of code 1, a damaged or unreadable one of code 2.
std::optional<PropertyList> readPropertyListFile(const std::filesystem::path& file, Error& error);

/// Writes a file atomically: a reader, or a crash, finds the old or the new content whole. Missing folders are made; a
/// symbolic link stays one. False with an error of code 3 when the old content had to stay, of code 2 when the list is
/// too large or too deep to be read again.
bool writePropertyListFile(const std::filesystem::path& file, const PropertyList& list, Error& error);

}  // namespace zelvane

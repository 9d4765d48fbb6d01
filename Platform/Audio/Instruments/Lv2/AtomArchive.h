// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/PropertyList.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace zelvane {

/// A value of an LV2 type: the number of its type, and its bytes without a header.
struct AtomValue {
    std::uint32_t type = 0;
    std::vector<std::byte> bytes;
    bool operator==(const AtomValue&) const = default;
};

/// The value as a dictionary with "type" and "value". Numbers that stand for URIs, which mean nothing to another
/// process, become the URIs. None for a value that is damaged or nested too deeply. Any thread.
std::optional<PropertyList> archivedAtom(std::uint32_t type, std::span<const std::byte> bytes);

/// The value of such a dictionary, or none for anything else.
std::optional<AtomValue> unarchivedAtom(const PropertyList& archive);

}  // namespace zelvane

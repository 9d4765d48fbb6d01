// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

/// What is known of an LV2 instrument without loading it.
struct Lv2Entry {
    std::string uri;
    std::string name = {};                            ///< as users see it; no two entries share one
    std::vector<std::filesystem::path> bundles = {};  ///< its own first, then those with presets for it
    std::string refusal = {};                         ///< why it is not offered; empty for one that is
    /// How far a bend of 3681 of 8191 takes it, in cents; 0 for one that ignores bends, none when it wasn't measured.
    std::optional<double> bendCents = {};

    bool operator==(const Lv2Entry&) const = default;
};

}  // namespace zelvane

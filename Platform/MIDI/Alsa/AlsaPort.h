// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <compare>
#include <optional>
#include <string>

namespace zelvane {

/// Where the kernel finds a port now. Numbers are given anew to whoever comes next.
struct AlsaAddress {
    int client = -1;
    int port = -1;

    auto operator<=>(const AlsaAddress&) const = default;
};

/// The sound card that a port belongs to.
struct AlsaCard {
    std::string name;
    // In hexadecimal digits as USB has them; none for a card that is not on USB.
    std::string vendor = {};
    std::string product = {};
    std::string serial = {};  ///< none where the maker saved it
};

/// What the sequencer tells of somebody's port.
struct AlsaPort {
    AlsaAddress address;
    std::string clientName;
    std::string name;
    bool isSource = false;       ///< others may listen to it
    bool isDestination = false;  ///< others may send to it
    bool isKernels = false;
    int process = -1;  ///< the program's, where it is known
    std::optional<AlsaCard> card = std::nullopt;
};

}  // namespace zelvane

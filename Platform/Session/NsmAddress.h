// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zelvane {

/// Where a session manager is reached, and from which of this machine's addresses.
struct NsmAddress {
    std::string host;  ///< numeric
    std::uint16_t port = 0;
    std::string localHost;  ///< numeric

    /// From what a manager puts into NSM_URL, as "osc.udp://name:port/". May ask a name server. None when it is no such
    /// address, or nothing of that name can be reached.
    static std::optional<NsmAddress> parse(const std::string& url);
};

}  // namespace zelvane

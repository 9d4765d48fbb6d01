// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Jack/JackClient.h"

#include <string>

namespace zelvane {

/// How a port is called.
struct JackMIDINames {
    std::string device;  ///< the device behind a bridge, or the client
    std::string port;
    std::string key;  ///< without the numbers that change from one start of the system to the next
};

/// Names of another's port by its full name. Asks only what the library knows without the server.
JackMIDINames jackMIDINames(const JackClient& client, const std::string& fullName);

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Jack/JackClient.h"

#include <string>
#include <vector>

namespace zelvane {

/// The clients with physical inputs for sound, the server's default first.
std::vector<std::string> jackSinks(const JackClient& client);

/// Full names of a sink's physical inputs, in its order. Empty when it is not there.
std::vector<std::string> jackInputs(const JackClient& client, const std::string& sink);

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace zelvane {

using Bytes = std::vector<std::byte>;

/// One who reads messages.
struct Subject {
    std::string name;
    std::function<bool(Bytes&)> read;  ///< false when it was not understood
    std::function<void()> rest{};      ///< what has to be done now and then and is not counted
};

}  // namespace zelvane

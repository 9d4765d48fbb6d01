// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/OSC/OSCMessage.h"

#include <algorithm>
#include <cstddef>

namespace zelvane {

/// Whether there are from `fewest` to `most` arguments, all of them numbers that a whole number can stand for.
inline bool areNumbers(const OSCMessage& message, std::size_t fewest, std::size_t most) {
    const auto& arguments = message.arguments;
    if (arguments.size() < fewest || arguments.size() > most) return false;
    return std::all_of(arguments.begin(), arguments.end(),
                       [](const OSCArgument& a) { return a.intValue().has_value(); });
}

/// An argument of a message that passed `areNumbers`.
inline int intArgument(const OSCMessage& message, std::size_t index) {
    return message.arguments[index].intValue().value_or(0);
}

}  // namespace zelvane

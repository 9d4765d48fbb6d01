// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Error.h"
#include "Platform/OSC/OSCMessage.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zelvane {

/// A message from words as they are typed: the address, then arguments, of which whole numbers become integers, other
/// numbers doubles, and the rest strings.
OSCMessage oscMessageFromWords(const std::vector<std::string>& words);

/// Sends one message to a program on this machine. False, with a reason, when nobody listens there: the kernel tells so
/// within a moment.
bool sendOSCMessage(const OSCMessage& message, const std::string& host, std::uint16_t port, Error& error);

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Benchmarks/OSC/Subject.h"

namespace zelvane {

/// liblo that only reads a message.
Subject libloReader();
/// A server of liblo that finds the method of a message among the player's addresses and calls it.
Subject libloServer();

}  // namespace zelvane

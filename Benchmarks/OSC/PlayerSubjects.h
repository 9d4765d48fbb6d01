// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Benchmarks/OSC/Subject.h"

namespace zelvane {

/// Our parser alone.
Subject playerParser();
/// Our parser and decoder on instruments that keep what they are told: a note goes to the unit that is tuned for it,
/// and its end is put on the run loop; a note of a stream is queued.
Subject playerDispatcher();

}  // namespace zelvane

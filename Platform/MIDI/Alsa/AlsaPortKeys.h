// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/MIDI/Alsa/AlsaPort.h"

#include <string>
#include <vector>

namespace zelvane {

/// A key for each port, the same whenever the device is plugged in again or the program started again, and distinct
/// among the ports given: those of one direction, in the sequencer's order.
std::vector<std::string> alsaPortKeys(const std::vector<AlsaPort>& ports);

}  // namespace zelvane

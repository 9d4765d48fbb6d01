// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/AudioTypes.h"

#include <cstdint>

namespace zelvane {

/// Decides whether three numbers are a MIDI channel message. A refusal is counted, and the first of each kind is
/// logged. Control threads.
OSStatus checkMIDIEvent(std::uint32_t status, std::uint32_t data1, std::uint32_t data2);

/// How many messages were refused since the start. Any thread.
std::uint64_t refusedMIDIEvents();

}  // namespace zelvane

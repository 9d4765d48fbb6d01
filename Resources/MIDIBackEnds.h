// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/UserDefaults.h"
#include "Platform/Jack/JackPresence.h"
#include "Platform/MIDI/MIDIBackEnd.h"

#include <memory>
#include <vector>

namespace zelvane {

/// The ways to MIDI in the order of preference, or the one that the user's `midiBackend` names; none for "none".
std::vector<std::unique_ptr<MIDIBackEnd>> makeMIDIBackEnds(const UserDefaults& defaults,
                                                           const JackPresence& presence = {});

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Resources/MIDIBackEnds.h"

#include "Platform/MIDI/Alsa/AlsaBackEnd.h"
#include "Platform/MIDI/Jack/JackMIDIBackEnd.h"

#include <algorithm>

namespace zelvane {

std::vector<std::unique_ptr<MIDIBackEnd>> makeMIDIBackEnds(const UserDefaults& defaults, const JackPresence& presence) {
    std::vector<std::unique_ptr<MIDIBackEnd>> backEnds;
    backEnds.push_back(std::make_unique<AlsaBackEnd>(presence.clientName));
    backEnds.push_back(std::make_unique<JackMIDIBackEnd>(presence));
    const auto wanted = defaults.string("midiBackend");
    std::erase_if(backEnds, [&](const auto& each) { return wanted && !wanted->empty() && each->name() != *wanted; });
    return backEnds;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Resources/MIDIBackEnds.h"

namespace zelvane {

std::vector<std::unique_ptr<MIDIBackEnd>> makeMIDIBackEnds(const UserDefaults& defaults) {
    std::vector<std::unique_ptr<MIDIBackEnd>> backEnds;
    const std::string wanted = defaults.string("midiBackend").value_or("");
    const auto isWanted = [&](const char* name) { return wanted.empty() || wanted == name; };
    (void)isWanted;
    return backEnds;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Jack/JackThroughput.h"

#include <atomic>
#include <memory>
#include <string>

namespace zelvane {

/// How the player appears at a JACK server: as two clients, one for sound and one for MIDI.
struct JackPresence {
    std::string clientName = "Zelvane";
    std::string midiClientName = "Zelvane MIDI";
    bool connectsAtStart = true;  ///< false where a session restores the wires
    /// Written by the main thread, read by any: what is chosen later is connected in any case.
    std::shared_ptr<std::atomic<bool>> hasStarted = std::make_shared<std::atomic<bool>>(false);
    std::shared_ptr<JackThroughput> throughput = std::make_shared<JackThroughput>();  ///< one for both clients
};

}  // namespace zelvane

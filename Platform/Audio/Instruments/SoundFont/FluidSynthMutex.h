// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <mutex>

namespace zelvane {

/// To be held while a synth of FluidSynth's is made or destroyed: the first one sets up tables that all share, and does
/// not keep a second one waiting until they are complete. Control threads.
inline std::mutex& fluidSynthMutex() {
    static auto& mutex = *new std::mutex;  // never destroyed: loader threads may end late
    return mutex;
}

}  // namespace zelvane

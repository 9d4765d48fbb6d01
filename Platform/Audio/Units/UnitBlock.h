// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/FrameClock.h"

#include <cstdint>

namespace zelvane {

/// What a unit is asked to render. Events sound `latencyFrames` after the frame of their time, so that those that reach
/// the audio thread in the middle of a block keep their distances.
struct UnitBlock {
    const FrameClock& clock;
    std::int64_t firstFrame = 0;
    std::int64_t latencyFrames = 0;
    std::uint32_t frames = 0;
    float* left = nullptr;
    float* right = nullptr;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/File/FragmentMuxer.h"

#include <cstdint>

namespace zelvane {

/// How much sound a file holds.
struct StreamLength {
    std::uint64_t packets = 0;
    std::uint64_t frames = 0;

    bool operator==(const StreamLength&) const = default;
};

/// Writes the packets of a fragmented file as an ordinary M4A file, whose index stands before the sound. Both are open
/// files. Throws `RecordingError`, also when the fragments hold another length than expected.
void remux(int fragmented, int ordinary, const AVCodecParameters& parameters, const RecordingTags& tags,
           const StreamLength& expected);

}  // namespace zelvane

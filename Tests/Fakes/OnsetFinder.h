// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <cstddef>
#include <span>
#include <vector>

namespace zelvane {

/// The frames at which sound begins: the first of a span's, and each that comes after at least `quietFrames` frames
/// below the threshold.
inline std::vector<std::size_t> onsets(std::span<const float> samples, std::size_t quietFrames,
                                       float threshold = 1e-5F) {
    std::vector<std::size_t> found;
    std::size_t quiet = quietFrames;
    for (std::size_t frame = 0; frame < samples.size(); ++frame) {
        if (std::fabs(samples[frame]) < threshold) {
            ++quiet;
            continue;
        }
        if (quiet >= quietFrames) found.push_back(frame);
        quiet = 0;
    }
    return found;
}

}  // namespace zelvane

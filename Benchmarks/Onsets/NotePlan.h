// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace zelvane {

/// Of the server on which plans are played, in Hz.
inline constexpr unsigned kSampleRate = 48000;

/// The time from each note to the next, irregular in microseconds so that no grid of blocks meets it, the same for all
/// who play the plan of a seed.
using NotePlan = std::vector<std::chrono::microseconds>;

inline NotePlan irregularPlan(std::size_t notes, std::uint32_t seed) {
    constexpr int kShortest = 40'000;
    constexpr int kLongest = 90'000;
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> gap(kShortest, kLongest);
    NotePlan plan;
    for (std::size_t note = 0; note < notes; ++note) plan.emplace_back(gap(random));
    return plan;
}

}  // namespace zelvane

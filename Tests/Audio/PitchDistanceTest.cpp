// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Catalogue/Scanner/PitchDistance.h"

#include <gmock/gmock.h>

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

namespace zelvane {
namespace {

using testing::DoubleNear;
using testing::Eq;
using testing::Optional;

constexpr double kRate = 48000;

/// A string that dies away: partials that are not quite harmonic.
std::vector<float> string(double frequency) {
    std::vector<float> samples(kPitchSamples);
    for (std::size_t n = 0; n < samples.size(); ++n) {
        const double time = static_cast<double>(n) / kRate;
        double sum = 0;
        for (int partial = 1; partial <= 8; ++partial) {
            const double stretched = partial * frequency * (1 + 0.0004 * partial * partial);
            sum += std::exp(-time * partial) / partial * std::sin(2 * std::numbers::pi * stretched * time + partial);
        }
        samples[n] = static_cast<float>(0.1 * sum);
    }
    return samples;
}

std::vector<float> noise(unsigned seed) {
    std::mt19937 generator(seed);
    std::normal_distribution<float> values(0, 0.1F);
    std::vector<float> samples(kPitchSamples);
    for (float& sample : samples) sample = values(generator);
    return samples;
}

TEST(PitchDistance, IsExactToATenthOfACent) {
    for (const double cents : {-539.2, -90.0, -0.4, 0.0, 45.0, 89.87, 107.8, 539.2, 1078.4}) {
        const auto higher = string(261.63 * std::exp2(cents / 1200));
        EXPECT_THAT(pitchDistance(string(261.63), higher, kRate), Optional(DoubleNear(cents, 0.1)));
    }
}

TEST(PitchDistance, SoundsWithNothingInCommonHaveNone) {
    const std::vector<float> silence(kPitchSamples);
    EXPECT_THAT(pitchDistance(silence, silence, kRate), Eq(std::nullopt));
    EXPECT_THAT(pitchDistance(string(261.63), silence, kRate), Eq(std::nullopt));
    EXPECT_THAT(pitchDistance(noise(1), noise(2), kRate), Eq(std::nullopt));
}

}  // namespace
}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Catalogue/Scanner/PitchDistance.h"

#include "Platform/Audio/Instruments/Lv2/Catalogue/Scanner/Spectrum.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>
#include <vector>

namespace zelvane {

namespace {

constexpr double kLowest = 60;       // Hz
constexpr int kFarthest = 1300;      // cents
constexpr int kCompared = 6 * 1200;  // cents above the lowest frequency

double raised(double frequency, double cents) {
    return frequency * std::exp2(cents / 1200);
}

/// Strengths in steps of a cent, around their mean, so that noise is like nothing. The root gives the weak partials a
/// voice too.
std::vector<double> inCents(const Spectrum& spectrum, int first, int last) {
    std::vector<double> strengths;
    for (int cents = first; cents < last; ++cents) strengths.push_back(std::sqrt(spectrum.at(raised(kLowest, cents))));
    const double sum = std::accumulate(strengths.begin(), strengths.end(), 0.0);
    for (double& strength : strengths) strength -= sum / static_cast<double>(strengths.size());
    return strengths;
}

double energy(std::span<const double> strengths) {
    double sum = 0;
    for (const double strength : strengths) sum += strength * strength;
    return sum;
}

/// The distance at which the two look most alike, to a cent; none when they look alike nowhere.
std::optional<double> roughDistance(const Spectrum& first, const Spectrum& second) {
    constexpr double kLeastLikeness = 0.5;
    const auto fixed = inCents(first, 0, kCompared);
    const auto moving = inCents(second, -kFarthest, kCompared + kFarthest);
    double best = 0;
    int distance = 0;
    for (int shift = -kFarthest; shift <= kFarthest; ++shift) {
        const double* other = moving.data() + kFarthest + shift;
        double likeness = 0;
        for (std::size_t n = 0; n < fixed.size(); ++n) likeness += fixed[n] * other[n];
        if (likeness > best) best = likeness, distance = shift;
    }
    const auto compared = std::span(moving).subspan(static_cast<std::size_t>(kFarthest + distance), fixed.size());
    const double most = std::sqrt(energy(fixed) * energy(compared));
    if (most <= 0 || best < kLeastLikeness * most) return std::nullopt;
    return distance;
}

/// The middle one of values of some weight.
double weightedMedian(std::vector<std::pair<double, double>> values) {
    std::sort(values.begin(), values.end());
    double sum = 0;
    for (const auto& [value, weight] : values) sum += weight;
    double passed = 0;
    for (const auto& [value, weight] : values) {
        passed += weight;
        if (passed >= sum / 2) return value;
    }
    return 0;
}

/// What the strongest partials say, each compared with the one that it has become.
double fineDistance(const Spectrum& first, const Spectrum& second, double rough) {
    constexpr double kHighest = 10000;  // Hz
    constexpr double kUncertainty = 15;
    constexpr std::size_t kPartials = 12;
    std::vector<std::pair<double, double>> distances;
    for (const auto& partial : first.peaks(kLowest, kHighest, kPartials)) {
        const auto moved = second.peaks(raised(partial.frequency, rough - kUncertainty),
                                        raised(partial.frequency, rough + kUncertainty) + 1, 1);
        if (moved.empty()) continue;
        distances.emplace_back(1200 * std::log2(moved.front().frequency / partial.frequency),
                               std::min(partial.strength, moved.front().strength));
    }
    return distances.empty() ? rough : weightedMedian(std::move(distances));
}

}  // namespace

std::optional<double> pitchDistance(std::span<const float> first, std::span<const float> second, double sampleRate) {
    const Spectrum lower(first, sampleRate);
    const Spectrum upper(second, sampleRate);
    const auto rough = roughDistance(lower, upper);
    if (!rough) return std::nullopt;
    return fineDistance(lower, upper, *rough);
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Preferences/TuningPicture.h"

#include "Platform/Foundation/Error.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace zelvane {

namespace {

constexpr std::size_t kKeys = 128;

/// Files may hold what is no interval, and those that they leave out count as 0.
double centsOfInterval(const ScalaController& tuning, std::size_t index) {
    if (index >= tuning.tuningMap().size()) return 0;
    try {
        const double cents = 100.0 * static_cast<double>(tuning.calculateTuningCents(tuning.tuningMap()[index]));
        return std::isfinite(cents) ? cents : 0;
    } catch (const RangeError&) {
        return 0;
    }
}

std::vector<double> deviationsOf(ScalaController& tuning) {
    std::vector<double> deviations;
    try {
        tuning.buildMicromidiMap();
    } catch (const RangeError&) {
        return deviations;
    }
    const auto& pitches = tuning.micromidiMap();
    for (std::size_t key = 0; key < std::min(kKeys, pitches.size()); ++key) {
        const double deviation = 100.0 * (static_cast<double>(pitches[key]) - static_cast<double>(key));
        deviations.push_back(std::isfinite(deviation) ? deviation : 0);
    }
    return deviations;
}

}  // namespace

std::optional<std::pair<double, double>> TuningPicture::range() const {
    if (deviations.empty()) return std::nullopt;
    const auto [low, high] = std::minmax_element(deviations.begin(), deviations.end());
    return std::pair(*low, *high);
}

TuningPicture tuningPicture(ScalaController& tuning) {
    TuningPicture picture;
    const auto length = static_cast<std::size_t>(std::max(tuning.tuningMapLength(), 0));
    picture.hasMoreDegrees = length > kLargestPicturedScale;
    if (length > 0) picture.period = std::abs(centsOfInterval(tuning, length - 1));
    if (picture.period <= 0) picture.period = 1200;
    picture.degrees.push_back(0);
    for (std::size_t index = 0; index + 1 < std::min(length, kLargestPicturedScale); ++index)
        picture.degrees.push_back(centsOfInterval(tuning, index));
    picture.deviations = deviationsOf(tuning);
    return picture;
}

}  // namespace zelvane

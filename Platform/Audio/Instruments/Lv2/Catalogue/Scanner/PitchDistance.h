// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <span>

namespace zelvane {

/// As many samples as a sound needs for its pitch to be told.
inline constexpr std::size_t kPitchSamples = 65536;

/// How far the second sound, which is the first one at another pitch, lies above it, in cents; to a tenth of a cent for
/// a steady sound, within ±1300 cents. None where they have nothing in common, as silence and noise have.
std::optional<double> pitchDistance(std::span<const float> first, std::span<const float> second, double sampleRate);

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaController.h"

#include <optional>
#include <utility>
#include <vector>

namespace zelvane {

/// What a tuning looks like. Intervals and pitches are in cents.
struct TuningPicture {
    std::vector<double> degrees;     ///< from the first, 0, up to the last below the period
    double period = 1200;            ///< the interval after which the degrees begin again; above 0
    bool hasMoreDegrees = false;     ///< more than are listed here
    std::vector<double> deviations;  ///< of the 128 keys from equal temperament; none when no table can be built

    /// The lowest and the highest deviation; none without a table.
    std::optional<std::pair<double, double>> range() const;

    bool operator==(const TuningPicture&) const = default;
};

/// More degrees than that could not be told apart.
inline constexpr std::size_t kLargestPicturedScale = 360;

/// Pictures the tuning as it will be once its key table is built, which is done here; that may fail.
TuningPicture tuningPicture(ScalaController& tuning);

}  // namespace zelvane

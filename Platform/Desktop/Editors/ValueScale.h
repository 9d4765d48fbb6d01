// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/UnitParameter.h"

namespace zelvane {

/// The positions of a slider for a parameter's values: steps of the same size, or of the same ratio where the ear hears
/// ratios.
class ValueScale {
  public:
    explicit ValueScale(const UnitParameter& parameter);

    /// The last position; the first is 0.
    int lastPosition() const { return _lastPosition; }
    float valueAt(int position) const;
    int positionOf(float value) const;
    /// Decimals that tell two positions apart.
    int decimals() const { return _decimals; }

  private:
    const float _minimum, _maximum;
    const bool _isInteger, _isLogarithmic;
    int _lastPosition;
    int _decimals;
};

}  // namespace zelvane

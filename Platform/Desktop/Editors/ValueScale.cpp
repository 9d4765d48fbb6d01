// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Editors/ValueScale.h"

#include <algorithm>
#include <cmath>

namespace zelvane {

namespace {

constexpr int kFinest = 1000;  // a slider is hardly wider in pixels
constexpr int kMostDecimals = 6;

// Two for values around 1, more where all of them are small.
int usefulDecimals(const UnitParameter& parameter, bool isLogarithmic) {
    if (parameter.isInteger) return 0;
    const double extent = isLogarithmic ? parameter.minimum : parameter.maximum - parameter.minimum;
    if (!(extent > 0)) return 2;
    constexpr double kRounding = 1e-4;  // a power of ten may come out a little less
    const int magnitude = static_cast<int>(std::floor(std::log10(extent) + kRounding));
    return std::clamp(magnitude > 0 ? 3 - magnitude : 2 - magnitude, 0, kMostDecimals);
}

}  // namespace

ValueScale::ValueScale(const UnitParameter& parameter)
    : _minimum(parameter.minimum),
      _maximum(parameter.maximum),
      _isInteger(parameter.isInteger),
      _isLogarithmic(parameter.isLogarithmic && parameter.minimum > 0 && parameter.maximum > parameter.minimum),
      _lastPosition(kFinest),
      _decimals(usefulDecimals(parameter, _isLogarithmic)) {
    const float values = _maximum - _minimum;
    if (_isInteger && !_isLogarithmic && values < static_cast<float>(kFinest))
        _lastPosition = std::max(1, static_cast<int>(values));
}

float ValueScale::valueAt(int position) const {
    const double part = static_cast<double>(position) / _lastPosition;
    const double value = _isLogarithmic ? _minimum * std::pow(static_cast<double>(_maximum) / _minimum, part)
                                        : _minimum + part * (static_cast<double>(_maximum) - _minimum);
    const auto rounded = static_cast<float>(_isInteger ? std::round(value) : value);
    return std::clamp(rounded, _minimum, _maximum);
}

int ValueScale::positionOf(float value) const {
    if (!(_maximum > _minimum)) return 0;
    const double held = std::clamp(value, _minimum, _maximum);
    const double part = _isLogarithmic ? std::log(held / _minimum) / std::log(static_cast<double>(_maximum) / _minimum)
                                       : (held - _minimum) / (static_cast<double>(_maximum) - _minimum);
    return static_cast<int>(std::lround(part * _lastPosition));
}

}  // namespace zelvane

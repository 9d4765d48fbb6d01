// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace zelvane {

/// The smallest value that at least this share (above 0, at most 1) of the values does not exceed. Of one value or
/// more.
inline double quantile(std::vector<double> values, double share) {
    const auto rank = static_cast<std::size_t>(std::ceil(share * static_cast<double>(values.size())));
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(rank - 1);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

inline double median(const std::vector<double>& values) {
    return quantile(values, 0.5);
}

inline double largest(const std::vector<double>& values) {
    return quantile(values, 1);
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Catalogue/Scanner/Spectrum.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <numbers>
#include <utility>

namespace zelvane {

namespace {

using Complex = std::complex<double>;

void sortByReversedBits(std::vector<Complex>& values) {
    for (std::size_t place = 0, reversed = 0; place + 1 < values.size(); ++place) {
        if (place < reversed) std::swap(values[place], values[reversed]);
        std::size_t bit = values.size() / 2;
        for (; (reversed & bit) != 0; bit /= 2) reversed ^= bit;
        reversed |= bit;
    }
}

/// The discrete Fourier transform in place.
void transform(std::vector<Complex>& values) {
    sortByReversedBits(values);
    std::vector<Complex> turns(values.size() / 2);
    for (std::size_t n = 0; n < turns.size(); ++n)
        turns[n] = std::polar(1.0, -2 * std::numbers::pi * static_cast<double>(n) / static_cast<double>(values.size()));
    for (std::size_t half = 1; half < values.size(); half *= 2) {
        const std::size_t stride = turns.size() / half;
        for (std::size_t start = 0; start < values.size(); start += 2 * half) {
            for (std::size_t n = 0; n < half; ++n) {
                const Complex odd = values[start + half + n] * turns[n * stride];
                values[start + half + n] = values[start + n] - odd;
                values[start + n] += odd;
            }
        }
    }
}

/// A bell: the logarithm of each peak is a parabola, so that three values tell exactly where its top is.
double bell(std::size_t place, std::size_t count) {
    constexpr double kSteepness = 10;
    const double middle = static_cast<double>(count) / 2;
    const double distance = (static_cast<double>(place) - middle) / middle;
    return std::exp(-kSteepness * distance * distance);
}

}  // namespace

Spectrum::Spectrum(std::span<const float> samples, double sampleRate)
    : _width(sampleRate / static_cast<double>(samples.size())) {
    std::vector<Complex> values(samples.size());
    for (std::size_t n = 0; n < samples.size(); ++n)
        values[n] = static_cast<double>(samples[n]) * bell(n, samples.size());
    transform(values);
    for (std::size_t n = 0; n <= values.size() / 2; ++n) _strengths.push_back(std::abs(values[n]));
}

std::vector<Spectrum::Peak> Spectrum::peaks(double lowest, double highest, std::size_t most) const {
    const auto first = std::max<std::size_t>(1, static_cast<std::size_t>(lowest / _width));
    const auto last = std::min(_strengths.size() - 2, static_cast<std::size_t>(highest / _width));
    std::vector<Peak> found;
    for (std::size_t step = first; step <= last; ++step) {
        const double here = _strengths[step];
        if (here > 0 && here > _strengths[step - 1] && here >= _strengths[step + 1]) found.push_back(peakAt(step));
    }
    std::sort(found.begin(), found.end(), [](const Peak& a, const Peak& b) { return a.strength > b.strength; });
    if (found.size() > most) found.resize(most);
    return found;
}

Spectrum::Peak Spectrum::peakAt(std::size_t step) const {
    constexpr double kLeast = 1e-30;
    const double left = std::log(std::max(_strengths[step - 1], kLeast));
    const double middle = std::log(_strengths[step]);
    const double right = std::log(std::max(_strengths[step + 1], kLeast));
    const double curve = left - 2 * middle + right;
    const double offset = curve < 0 ? 0.5 * (left - right) / curve : 0;
    return {(static_cast<double>(step) + offset) * _width, _strengths[step]};
}

double Spectrum::at(double frequency) const {
    const double place = frequency / _width;
    const auto step = static_cast<std::size_t>(place);
    if (step + 1 >= _strengths.size()) return 0;
    return std::lerp(_strengths[step], _strengths[step + 1], place - static_cast<double>(step));
}

}  // namespace zelvane

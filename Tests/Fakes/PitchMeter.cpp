// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/PitchMeter.h"

#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

namespace zelvane {

namespace {

constexpr double kSearchedOctaves = 0.2;

// The spectrum of a bell curve is a bell curve, whose logarithm is a parabola: three bins tell its top exactly.
std::vector<double> bellShaped(std::span<const float> samples) {
    constexpr double kWidth = 6;  // standard deviations from the middle to an end
    std::vector<double> shaped(samples.size());
    const double half = static_cast<double>(samples.size()) / 2;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double t = (static_cast<double>(i) - half) / half * kWidth;
        shaped[i] = static_cast<double>(samples[i]) * std::exp(-0.5 * t * t);
    }
    return shaped;
}

std::vector<double> logSpectrum(std::vector<double> samples) {
    std::vector<std::complex<double>> bins(samples.size() / 2 + 1);
    const fftw_plan plan = fftw_plan_dft_r2c_1d(static_cast<int>(samples.size()), samples.data(),
                                                reinterpret_cast<fftw_complex*>(bins.data()), FFTW_ESTIMATE);
    fftw_execute(plan);
    fftw_destroy_plan(plan);
    std::vector<double> logarithms(bins.size());
    std::transform(bins.begin(), bins.end(), logarithms.begin(),
                   [](std::complex<double> bin) { return std::log(std::norm(bin) + 1e-300); });
    return logarithms;
}

}  // namespace

double measuredFrequency(std::span<const float> samples, double sampleRate, double expected) {
    const std::vector<double> spectrum = logSpectrum(bellShaped(samples));
    const double binsPerHertz = static_cast<double>(samples.size()) / sampleRate;
    const auto binAt = [&](double frequency) {
        return std::clamp<std::ptrdiff_t>(std::lround(frequency * binsPerHertz), 1, std::ssize(spectrum) - 2);
    };
    const auto top = std::max_element(spectrum.begin() + binAt(expected * std::exp2(-kSearchedOctaves)),
                                      spectrum.begin() + binAt(expected * std::exp2(kSearchedOctaves)) + 1);
    const double before = *(top - 1);
    const double after = *(top + 1);
    const double shift = 0.5 * (before - after) / (before - 2 * *top + after);
    return (static_cast<double>(top - spectrum.begin()) + shift) / binsPerHertz;
}

double centsAbove(double reference, double frequency) {
    return 1200 * std::log2(frequency / reference);
}

double frequencyOfKey(double key) {
    return 440 * std::exp2((key - 69) / 12);
}

}  // namespace zelvane

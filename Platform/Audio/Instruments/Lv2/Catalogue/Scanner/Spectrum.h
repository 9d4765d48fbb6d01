// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace zelvane {

/// How strong each frequency is in a sound.
class Spectrum {
  public:
    /// Of samples, as many as a power of two.
    Spectrum(std::span<const float> samples, double sampleRate);

    struct Peak {
        double frequency = 0;  ///< Hz, far finer than the spectrum's own steps
        double strength = 0;
    };

    /// The strongest peaks between two frequencies, at most so many, the strongest first.
    std::vector<Peak> peaks(double lowest, double highest, std::size_t most) const;

    /// The strength at a frequency between two steps.
    double at(double frequency) const;

  private:
    Peak peakAt(std::size_t step) const;

    double _width = 0;               // Hz from step to step
    std::vector<double> _strengths;  // from 0 Hz to half the sample rate
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>

namespace zelvane {

/// The frequency in Hz of the strongest tone within 240 cents of the expected one, exact to some
/// thousandths of a cent on a tone that stands alone. A second of sound or more; one thread at a time.
double measuredFrequency(std::span<const float> samples, double sampleRate, double expected);

/// How far `frequency` is above `reference`.
double centsAbove(double reference, double frequency);

/// The frequency of a key (fractions too) at 440 Hz for key 69.
double frequencyOfKey(double key);

}  // namespace zelvane

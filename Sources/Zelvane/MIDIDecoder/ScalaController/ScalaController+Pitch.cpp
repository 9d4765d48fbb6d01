// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Error.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaController.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaText.h"

#include <cmath>

namespace zelvane {

namespace {

constexpr double kSemitonesPerNeper = 17.312340490667562;  // 12 / ln 2

}  // namespace

float ScalaController::midiToFreq(float midi) const {
    const float octaves = (midi - static_cast<float>(_referenceMidi)) / 12.0F;
    return static_cast<float>(static_cast<double>(_referenceFrequency) * std::pow(2.0, static_cast<double>(octaves)));
}

float ScalaController::freqToMidi(float frequency) const {
    const float ratio = std::fabs(frequency) / _referenceFrequency;
    return static_cast<float>(
        std::fma(std::log(static_cast<double>(ratio)), kSemitonesPerNeper, static_cast<double>(_referenceMidi)));
}

float ScalaController::ratioToCents(float ratio) const {
    return freqToMidi(ratio * 440.0F) - 69.0F;
}

float ScalaController::centsToRatio(float cents) const {
    return midiToFreq(cents + 69.0F) / 440.0F;
}

float ScalaController::calculateTuningCents(std::string_view text) const {
    if (text.find('.') != std::string_view::npos) return floatValue(text);
    const std::size_t slash = text.find('/');
    if (slash == std::string_view::npos)
        throw RangeError("the interval \"" + std::string(text.substr(0, 40)) +
                         "\" has neither a decimal point nor a slash");

    const std::string_view second = text.substr(slash + 1);
    const float denominator = floatValue(second.substr(0, second.find('/')));
    return ratioToCents(floatValue(text.substr(0, slash)) / (denominator == 0.0F ? 1.0F : denominator));
}

}  // namespace zelvane

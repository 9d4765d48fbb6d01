// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/FrameClock.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace zelvane {

namespace {

// The loop opens wide to find the rate and then narrows with time, so that a single late wake-up moves it by a fraction
// of a frame. Narrowing faster would freeze what is left of the first error in the rate.
constexpr double kWideBandwidth = 1.0;
constexpr double kNarrowBandwidth = 0.1;
constexpr double kNarrowingPerSecond = 2.0;
constexpr double kLargestRateError = 0.01;
constexpr double kLargestErrorSeconds = 0.1;

}  // namespace

void FrameClock::reset(double sampleRate) noexcept {
    _sampleRate = sampleRate;
    _framesPerNanosecond = sampleRate * 1e-9;
    _isLocked = false;
}

void FrameClock::anchor(TimePoint start, std::int64_t firstFrame) noexcept {
    _epoch = start;
    _anchorTime = 0;
    _anchorFrame = firstFrame;
    _framesPerNanosecond = _sampleRate * 1e-9;
    _lockedSeconds = 0;
    _isLocked = true;
}

void FrameClock::moveTo(TimePoint start, std::int64_t firstFrame) noexcept {
    _anchorTime = static_cast<double>((start - _epoch).count());
    _anchorFrame = firstFrame;
}

void FrameClock::update(TimePoint start, std::int64_t firstFrame, std::uint32_t frames, bool isExact,
                        bool isJump) noexcept {
    if (!_isLocked || isJump) return anchor(start, firstFrame);
    if (isExact) return moveTo(start, firstFrame);
    const auto sinceAnchor = static_cast<double>(firstFrame - _anchorFrame);
    const double predicted = _anchorTime + sinceAnchor / _framesPerNanosecond;
    const double error = static_cast<double>((start - _epoch).count()) - predicted;
    const double periods = 4.0 * frames / _framesPerNanosecond;
    if (std::abs(error) > std::max(kLargestErrorSeconds * 1e9, periods)) return anchor(start, firstFrame);
    _anchorTime = predicted;
    _anchorFrame = firstFrame;
    follow(error, static_cast<std::uint32_t>(std::max(sinceAnchor, 1.0)));
}

double FrameClock::bandwidth() const noexcept {
    return std::max(kNarrowBandwidth, kWideBandwidth / (1 + kNarrowingPerSecond * _lockedSeconds));
}

void FrameClock::follow(double error, std::uint32_t frames) noexcept {
    const double seconds = frames / _sampleRate;
    const double omega = std::min(2 * std::numbers::pi * bandwidth() * seconds, 0.5);
    _anchorTime += std::numbers::sqrt2 * omega * error;
    const double nanosecondsPerFrame = 1 / _framesPerNanosecond + omega * omega * error / frames;
    const double nominal = 1e9 / _sampleRate;
    const double held =
        std::clamp(nanosecondsPerFrame, nominal * (1 - kLargestRateError), nominal * (1 + kLargestRateError));
    _framesPerNanosecond = 1 / held;
    _lockedSeconds += seconds;
}

std::int64_t FrameClock::frameAt(TimePoint time) const noexcept {
    const double sinceAnchor = static_cast<double>((time - _epoch).count()) - _anchorTime;
    return _anchorFrame + std::llround(sinceAnchor * _framesPerNanosecond);
}

}  // namespace zelvane

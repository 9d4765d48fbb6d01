// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Null/NullStream.h"

#include "Platform/Audio/FlushToZero.h"
#include "Platform/Foundation/Thread.h"

#include <time.h>

#include <algorithm>

namespace zelvane {

namespace {

/// Long periods are slept in pieces, so that stopping never takes longer than one.
constexpr Duration kLongestSleep = std::chrono::milliseconds(20);
/// Lateness that is made good by rendering faster. Beyond it the missed periods are left out, as a sound card would.
constexpr Duration kTolerance = std::chrono::milliseconds(50);
constexpr std::uint64_t kToleratedPeriods = 4;

void sleepOnMonotonicClockUntil(TimePoint date) {
    const auto sinceEpoch = date.time_since_epoch();
    const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceEpoch);
    const timespec deadline{.tv_sec = seconds.count(), .tv_nsec = (sinceEpoch - seconds).count()};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr);
}

}  // namespace

NullStream::NullStream(const AudioDeviceFormat& format)
    : _format(format), _samples(std::size_t{format.channels} * format.periodFrames) {
    for (std::size_t channel = 0; channel < format.channels; ++channel) {
        _outputs.push_back(_samples.data() + channel * format.periodFrames);
    }
}

NullStream::~NullStream() {
    _isStopping.store(true, std::memory_order_relaxed);
}

bool NullStream::start(AudioRenderer& renderer) {
    _start = Clock::monotonic().now();
    _thread = startThread("null device", ThreadRole::audio, [this, &renderer] { run(renderer); });
    return true;
}

void NullStream::run(AudioRenderer& renderer) {
    const ScopedFlushToZero flushToZero;
    const std::uint32_t period = _format.periodFrames;
    std::uint64_t frame = 0;
    bool isDiscontinuous = false;
    while (sleepUntil(dateOfFrame(frame))) {
        renderer.render({.start = dateOfFrame(frame),
                         .startIsExact = true,
                         .isDiscontinuous = isDiscontinuous,
                         .frames = period,
                         .periodFrames = period,
                         .outputs = _outputs});
        frame += period;
        const std::uint64_t missed = periodsMissed(frame);
        isDiscontinuous = missed > 0;
        if (missed > 0) _xruns.fetch_add(1, std::memory_order_relaxed);
        frame += missed * period;
    }
}

/// Whole seconds and the rest apart: the product of all would leave 64 bits after four days.
TimePoint NullStream::dateOfFrame(std::uint64_t frame) const {
    const auto rate = static_cast<std::uint64_t>(_format.sampleRate);
    const std::uint64_t nanoseconds = frame / rate * 1'000'000'000 + frame % rate * 1'000'000'000 / rate;
    return _start + Duration(nanoseconds);
}

bool NullStream::sleepUntil(TimePoint date) const {
    while (!_isStopping.load(std::memory_order_relaxed)) {
        const TimePoint now = Clock::monotonic().now();
        if (now >= date) return true;
        sleepOnMonotonicClockUntil(std::min(date, now + kLongestSleep));
    }
    return false;
}

std::uint64_t NullStream::periodsMissed(std::uint64_t frame) const {
    const Duration late = Clock::monotonic().now() - dateOfFrame(frame);
    const double period = _format.periodFrames / _format.sampleRate * 1e9;
    if (late <= kTolerance || double(late.count()) < double(kToleratedPeriods) * period) return 0;
    return static_cast<std::uint64_t>(double(late.count()) / period) + 1;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/Null/NullBackEnd.h"
#include "Platform/Audio/Devices/OutputDeviceController.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/RecordingRenderer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace zelvane {

inline std::vector<std::string> deviceNames(AudioDeviceBackEnd& backEnd) {
    std::vector<std::string> names;
    for (const AudioDeviceInfo& info : backEnd.devices()) names.push_back(info.name);
    return names;
}

/// What plays on a server of a fixture's, or falls back on the null device, into the fixture's renderer.
template <typename Fixture, typename BackEnd>
class WithController : public Fixture {
  protected:
    /// Until a cycle came from that device after now.
    bool isHeardOn(const std::string& device) {
        return waitFor([&] { return controller.status().current.device == device; }) &&
               waitFor([&, seen = this->renderer.count()] { return this->renderer.count() > seen; });
    }

    static std::vector<std::unique_ptr<AudioDeviceBackEnd>> backEnds() {
        std::vector<std::unique_ptr<AudioDeviceBackEnd>> backEnds;
        backEnds.push_back(std::make_unique<BackEnd>());
        backEnds.push_back(std::make_unique<NullBackEnd>());
        return backEnds;
    }

    LogLines log;
    OutputDeviceController controller{backEnds(), this->renderer, [] {}};
};

/// The longest run of cycles in which the server lost nothing.
inline std::vector<RecordingRenderer::Cycle> longestStretch(const std::vector<RecordingRenderer::Cycle>& all) {
    std::vector<RecordingRenderer::Cycle> longest;
    std::vector<RecordingRenderer::Cycle> present;
    for (const RecordingRenderer::Cycle& cycle : all) {
        if (cycle.isDiscontinuous) present.clear();
        present.push_back(cycle);
        if (present.size() > longest.size()) longest = present;
    }
    return longest;
}

/// Whether the start times of cycles stay within that distance of the straight line through them, near the time at
/// which they were asked for, at about the device's rate. Prints what was seen.
inline bool areSteady(const std::vector<RecordingRenderer::Cycle>& all, double sampleRate, double microseconds,
                      const char* what) {
    const std::vector<RecordingRenderer::Cycle> cycles = longestStretch(all);
    if (cycles.size() <= 50) return false;
    std::vector<double> frames(cycles.size());
    std::vector<double> times(cycles.size());
    double frame = 0;
    double earliest = 0;
    for (std::size_t i = 0; i < cycles.size(); ++i) {
        frames[i] = frame;
        times[i] = std::chrono::duration<double, std::micro>(cycles[i].start - cycles[0].start).count();
        frame += cycles[i].frames;
        const double lead = std::chrono::duration<double, std::micro>(cycles[i].start - cycles[i].cameAt).count();
        earliest = std::max(earliest, lead);
    }
    double meanFrame = 0;
    double meanTime = 0;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        meanFrame += frames[i] / double(frames.size());
        meanTime += times[i] / double(frames.size());
    }
    double products = 0;
    double squares = 0;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        products += (frames[i] - meanFrame) * (times[i] - meanTime);
        squares += (frames[i] - meanFrame) * (frames[i] - meanFrame);
    }
    const double slope = products / squares;
    std::vector<double> errors;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        errors.push_back(std::abs(times[i] - meanTime - slope * (frames[i] - meanFrame)));
    }
    std::ranges::sort(errors);
    std::printf(
        "%s: %zu of %zu cycles, rate off by %.0f ppm, start times off by p50 %.1f, p99 %.1f, at most %.1f us; at most "
        "%.0f us ahead\n",
        what, cycles.size(), all.size(), (1e6 / slope / sampleRate - 1) * 1e6, errors[errors.size() / 2],
        errors[errors.size() * 99 / 100], errors.back(), earliest);
    // Wide enough for a machine that is held up, narrow enough to tell 44.1 from 48 kHz.
    return std::abs(1e6 / slope / sampleRate - 1) < 0.05 && errors[errors.size() / 2] < microseconds && earliest < 2000;
}

/// Whether some stretch of that many cycles from now on is steady: a server on a busy machine is held up now and then.
inline bool isSteadyAtSomeTime(const RecordingRenderer& renderer, std::size_t cycleCount, double sampleRate,
                               double microseconds, const char* what) {
    for (int attempt = 0; attempt < 20; ++attempt) {
        const std::size_t begin = renderer.count() + 20;
        if (!waitFor([&] { return renderer.count() >= begin + cycleCount; })) return false;
        auto cycles = renderer.cycles();
        cycles.erase(cycles.begin(), cycles.begin() + std::ptrdiff_t(begin));
        if (areSteady(cycles, sampleRate, microseconds, what)) return true;
    }
    return false;
}

}  // namespace zelvane

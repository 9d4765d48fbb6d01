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

/// Whether the start times of cycles stay within that distance of what the device's rate has them be, near the time at
/// which they were asked for. Prints what was seen.
inline bool areSteady(const std::vector<RecordingRenderer::Cycle>& all, double sampleRate, double microseconds,
                      const char* what) {
    using Microseconds = std::chrono::duration<double, std::micro>;
    const std::vector<RecordingRenderer::Cycle> cycles = longestStretch(all);
    if (cycles.size() <= 50) return false;
    std::vector<double> late;
    double frames = 0;
    double earliest = 0;
    for (const RecordingRenderer::Cycle& cycle : cycles) {
        late.push_back(Microseconds(cycle.start - cycles[0].start).count() - 1e6 * frames / sampleRate);
        frames += cycle.frames;
        earliest = std::max(earliest, Microseconds(cycle.start - cycle.cameAt).count());
    }
    const auto sorted = [](std::vector<double> values) {
        std::ranges::sort(values);
        return values;
    };
    const double middle = sorted(late)[late.size() / 2];
    for (double& each : late) each = std::abs(each - middle);
    late = sorted(late);
    std::printf("%s: %zu of %zu cycles, start times off by p50 %.1f, at most %.1f us; at most %.0f us ahead\n", what,
                cycles.size(), all.size(), late[late.size() / 2], late.back(), earliest);
    return late[late.size() / 2] < microseconds && earliest < 2000;
}

/// Whether some stretch of that many cycles from now on is steady: a server on a busy machine is held up now and then.
inline bool isSteadyAtSomeTime(const RecordingRenderer& renderer, std::size_t cycleCount, double sampleRate,
                               double microseconds, const char* what, int attempts = 20) {
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const std::size_t begin = renderer.count() + 20;
        if (!waitFor([&] { return renderer.count() >= begin + cycleCount; })) return false;
        auto cycles = renderer.cycles();
        cycles.erase(cycles.begin(), cycles.begin() + std::ptrdiff_t(begin));
        if (areSteady(cycles, sampleRate, microseconds, what)) return true;
    }
    return false;
}

}  // namespace zelvane

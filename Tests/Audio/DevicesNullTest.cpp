// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/DeviceName.h"
#include "Platform/Audio/Devices/Null/NullBackEnd.h"
#include "Platform/Audio/Devices/Pulse/PulseCycleClock.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/RecordingRenderer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <optional>
#include <set>
#include <thread>

namespace zelvane {
namespace {

using std::chrono::milliseconds;

/// The shortest delay between a cycle's date and its coming: what is left when nothing else kept the processor.
double shortestDelay(const std::vector<RecordingRenderer::Cycle>& cycles, std::size_t first, std::size_t last) {
    double shortest = 1;
    for (std::size_t i = first; i < last; ++i) {
        shortest = std::min(shortest, std::chrono::duration<double>(cycles[i].cameAt - cycles[i].start).count());
    }
    return shortest;
}

/// Two seconds of a stream that was never held up for longer than it catches up.
std::vector<RecordingRenderer::Cycle> undisturbedCycles(NullBackEnd& backEnd, std::uint32_t rate,
                                                        std::uint32_t period) {
    std::vector<RecordingRenderer::Cycle> cycles;
    const auto play = [&] {
        RecordingRenderer renderer;
        Error error;
        auto stream = backEnd.open("null", {.periodFrames = period}, error);
        if (!stream->start(renderer)) return false;
        waitFor([&] { return renderer.count() * period >= 2 * rate; });
        const std::uint64_t xruns = stream->xruns();
        stream.reset();
        cycles = renderer.cycles();
        return xruns == 0;
    };
    EXPECT_TRUE(waitFor(play, 60));
    return cycles;
}

TEST(NullDevice, isPacedByExactDeadlines) {
    constexpr std::uint32_t kRate = 44100;
    constexpr std::uint32_t kPeriod = 221;  // no whole number of nanoseconds
    NullBackEnd backEnd(kRate);
    const auto cycles = undisturbedCycles(backEnd, kRate, kPeriod);
    for (std::size_t i = 0; i < cycles.size(); ++i) {
        const Duration::rep exact = Duration::rep(i * kPeriod) * 1'000'000'000 / kRate;
        ASSERT_EQ((cycles[i].start - cycles[0].start).count(), exact) << "cycle " << i;
        ASSERT_TRUE(cycles[i].startIsExact && !cycles[i].isDiscontinuous);
        ASSERT_GE(cycles[i].cameAt, cycles[i].start);
    }
    // Pace against the clock: how much later the second of the two seconds comes than the first.
    const std::size_t half = cycles.size() / 2;
    const double drift = shortestDelay(cycles, half, cycles.size()) - shortestDelay(cycles, 0, half);
    std::printf("null device: mean rate off by %.1f ppm\n", drift * 1e6);
    EXPECT_LT(std::abs(drift), 50e-6);
}

TEST(NullDevice, stopsWithinAPeriod) {
    NullBackEnd backEnd;
    Duration fastest = Duration::max();  // of several: the machine may be busy
    for (int i = 0; i < 5; ++i) {
        RecordingRenderer renderer;
        Error error;
        auto stream = backEnd.open("null", {.periodFrames = 480}, error);
        ASSERT_TRUE(stream->start(renderer));
        ASSERT_TRUE(waitFor([&] { return renderer.count() > 0; }));
        const TimePoint stopping = Clock::monotonic().now();
        stream.reset();
        fastest = std::min(fastest, Clock::monotonic().now() - stopping);
        const std::size_t stoppedAt = renderer.count();
        std::this_thread::sleep_for(milliseconds(30));
        EXPECT_EQ(renderer.count(), stoppedAt);
    }
    EXPECT_LE(fastest, milliseconds(40));
}

/// Holds up its third cycle for longer than a device catches up.
class StallingRenderer final : public AudioRenderer {
  public:
    void prepare(const AudioDeviceFormat&) override {}
    void render(const AudioCycle& cycle) noexcept override {
        recorder.render(cycle);
        if (recorder.count() == 3) std::this_thread::sleep_for(milliseconds(120));
    }
    RecordingRenderer recorder;
};

TEST(NullDevice, skipsWholePeriodsAfterAStall) {
    NullBackEnd backEnd;
    std::vector<RecordingRenderer::Cycle> cycles;
    // Held up by nothing but the renderer.
    const auto playOnce = [&] {
        StallingRenderer renderer;
        Error error;
        auto stream = backEnd.open({}, {.periodFrames = 480}, error);
        if (!stream->start(renderer)) return false;
        waitFor([&] { return renderer.recorder.count() >= 6; });
        cycles = renderer.recorder.cycles();
        return stream->xruns() == 1;
    };
    ASSERT_TRUE(waitFor(playOnce, 60));
    const Duration gap = cycles[3].start - cycles[2].start;
    EXPECT_TRUE(cycles[3].isDiscontinuous && !cycles[4].isDiscontinuous);
    EXPECT_EQ(gap % milliseconds(10), Duration::zero()) << gap.count();
    EXPECT_GE(gap, milliseconds(120));
    EXPECT_GE(cycles[3].cameAt, cycles[3].start) << "a period in the future";
    EXPECT_EQ(cycles[4].start - cycles[3].start, Duration(milliseconds(10)));
}

TEST(NullDevice, holdsThePeriodToItsRange) {
    NullBackEnd backEnd;
    Error error;
    EXPECT_EQ(backEnd.open({}, {.periodFrames = 1}, error)->format().periodFrames, 16U);
    EXPECT_EQ(backEnd.open({}, {.periodFrames = 1'000'000}, error)->format().periodFrames, 8192U);
    EXPECT_EQ(backEnd.open("another", {}, error), nullptr);
    EXPECT_FALSE(error.description.empty());
}

TEST(DeviceName, isCutAtACharacterAndUnique) {
    const std::string longText(80, 'x');
    EXPECT_EQ(uniqueDeviceName("PulseAudio", longText, {}).size(), 63U);
    const std::string umlauts = uniqueDeviceName("PulseAudio", "xx\u00e4" + std::string(46, 'y') + "\u00e4\u00e4", {});
    EXPECT_EQ(umlauts, "PulseAudio: xx\u00e4" + std::string(46, 'y')) << "half a character is left";

    std::vector<std::string> names;
    for (int i = 0; i < 12; ++i) names.push_back(uniqueDeviceName("PulseAudio", longText, names));
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
    for (const std::string& name : names) EXPECT_LE(name.size(), 63U);
}

/// A burst at the start, then requests that come late by up to 3 ms, from a sink whose time is known well.
TEST(PulseCycleClock, datesFramesByTheSinkNotByTheRequests) {
    PulseCycleClock clock(48000, 480);
    const TimePoint start(std::chrono::seconds(100));
    constexpr Duration kLatency = milliseconds(35);
    const auto ask = [&](int i, Duration late) {
        const TimePoint now = start + i * milliseconds(10) + late;
        const auto before = std::uint64_t(i + 2) * 480;
        return clock.date({.now = now, .framesBefore = before, .frames = 480, .playedTime = now - start - kLatency});
    };
    EXPECT_TRUE(ask(0, milliseconds(-9)).hasJumped);
    int jumps = 0;
    std::optional<TimePoint> previous;
    for (int i = 1; i < 500; ++i) {
        const Duration late = std::chrono::microseconds(i * 7919 % 3000);
        const auto answer = ask(i, late);
        EXPECT_LE(answer.start, start + i * milliseconds(10) + late) << "its end is more than a period ahead";
        if (answer.hasJumped) {
            ++jumps;
        } else if (previous) {
            EXPECT_NEAR(double((answer.start - *previous).count()), 10e6, 100e3) << "request " << i;
        }
        previous = answer.start;
    }
    EXPECT_EQ(jumps, 1) << "the burst at the start is forgotten once";
    EXPECT_GT(*previous, start + milliseconds(4990 - 3)) << "later than need be";
    clock.forget();
    EXPECT_TRUE(ask(500, milliseconds(1)).hasJumped);
}

}  // namespace
}  // namespace zelvane

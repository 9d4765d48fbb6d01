// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/DeviceName.h"
#include "Platform/Audio/Devices/Null/NullBackEnd.h"
#include "Platform/Audio/Devices/Pulse/PulseCycleClock.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/RecordingRenderer.h"

#include <gtest/gtest.h>

#include <optional>
#include <set>
#include <thread>

namespace zelvane {
namespace {

using std::chrono::milliseconds;

/// Holds up its third cycle.
struct StallingRenderer final : RecordingRenderer {
    void render(const AudioCycle& cycle) noexcept override {
        RecordingRenderer::render(cycle);
        if (count() == 3) std::this_thread::sleep_for(stall);
    }
    milliseconds stall{0};
};

/// So many cycles of a stream that is held up by nothing but the renderer.
std::vector<RecordingRenderer::Cycle> playedCycles(NullBackEnd& backEnd, std::uint32_t period, std::size_t count,
                                                   milliseconds stall = {}) {
    std::vector<RecordingRenderer::Cycle> cycles;
    const auto play = [&] {
        StallingRenderer renderer;
        renderer.stall = stall;
        Error error;
        auto stream = backEnd.open("null", {.periodFrames = period}, error);
        if (!stream->start(renderer)) return false;
        waitFor([&] { return renderer.count() >= count; });
        const std::uint64_t xruns = stream->xruns();
        stream.reset();
        cycles = renderer.cycles();
        return xruns == (stall > milliseconds(0) ? 1 : 0);
    };
    EXPECT_TRUE(waitFor(play, 60));
    return cycles;
}

TEST(NullDevice, isPacedByExactDeadlines) {
    constexpr std::uint32_t kRate = 44100;
    constexpr std::uint32_t kPeriod = 221;  // no whole number of nanoseconds
    NullBackEnd backEnd(kRate);
    const auto cycles = playedCycles(backEnd, kPeriod, 400);
    Duration leastDelay = Duration::max();  // towards the end: delays must not add up
    for (std::size_t i = 0; i < cycles.size(); ++i) {
        const Duration::rep exact = Duration::rep(i * kPeriod) * 1'000'000'000 / kRate;
        ASSERT_EQ((cycles[i].start - cycles[0].start).count(), exact) << "cycle " << i;
        ASSERT_TRUE(cycles[i].startIsExact && !cycles[i].isDiscontinuous);
        ASSERT_GE(cycles[i].cameAt, cycles[i].start);
        if (i >= 200) leastDelay = std::min(leastDelay, cycles[i].cameAt - cycles[i].start);
    }
    EXPECT_LT(leastDelay, milliseconds(2));
}

TEST(NullDevice, skipsWholePeriodsAfterAStall) {
    NullBackEnd backEnd;
    const auto cycles = playedCycles(backEnd, 480, 6, milliseconds(120));
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

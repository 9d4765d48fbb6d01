// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/FrameClock.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace zelvane {
namespace {

using namespace std::chrono_literals;

constexpr TimePoint kStart{std::chrono::hours(100)};

TimePoint timeOfFrame(std::int64_t frame, double rate) {
    return kStart + Duration(std::llround(static_cast<double>(frame) / rate * 1e9));
}

TEST(FrameClock, ExactStartsMapToTheFrameAfterHoursAtAnyRate) {
    for (const double rate : {44100.0, 48000.0, 96000.0}) {
        FrameClock clock;
        clock.reset(rate);
        const auto frame = static_cast<std::int64_t>(rate) * 3600 * 5 + 77;
        clock.update(timeOfFrame(frame, rate), frame, 512, true, false);
        for (const std::int64_t ahead : {0, 1, 511, 100000}) {
            EXPECT_EQ(clock.frameAt(timeOfFrame(frame + ahead, rate)), frame + ahead);
        }
    }
}

// Wake-ups that come up to a millisecond late must not show as jitter in what is played.
TEST(FrameClock, JitteringCyclesSettleToAFewFramesAndFollowTheDevicesOwnRate) {
    constexpr double kRate = 48000;
    constexpr double kTrueRate = kRate * (1 + 80e-6);
    FrameClock clock;
    clock.reset(kRate);
    std::mt19937 random(1);
    std::exponential_distribution<double> late(1 / 100e3);
    std::int64_t least = std::numeric_limits<std::int64_t>::max();
    std::int64_t most = std::numeric_limits<std::int64_t>::min();
    for (std::int64_t block = 0; block < 60 * 48000 / 256; ++block) {
        const std::int64_t frame = block * 256;
        const TimePoint due = timeOfFrame(frame, kTrueRate);
        clock.update(due + Duration(std::llround(std::min(late(random), 1e6))), frame, 256, false, false);
        if (frame < 10 * 48000) continue;
        const std::int64_t error = clock.frameAt(due) - frame;
        least = std::min(least, error);
        most = std::max(most, error);
    }
    EXPECT_LE(most - least, 3) << "from " << least << " to " << most;
}

// A server that smooths its own times says where its frames are: what it says now counts, not what was said before.
TEST(FrameClock, ExactStartsAreFollowedAtOnceAlsoAfterJitteringOnes) {
    FrameClock clock;
    clock.reset(48000);
    for (std::int64_t frame = 0; frame < 48000; frame += 256)
        clock.update(timeOfFrame(frame, 48000) + 700us, frame, 256, false, false);
    for (const auto moved : {2ms, 1ms, 0ms}) {
        clock.update(timeOfFrame(48000, 48000) + moved, 48000, 256, true, false);
        EXPECT_NEAR(double(clock.frameAt(timeOfFrame(48256, 48000) + moved)), 48256, 1) << moved.count();
    }
}

TEST(FrameClock, AJumpOfTheDeviceStartsItAnew) {
    FrameClock clock;
    clock.reset(48000);
    clock.update(kStart, 0, 480, false, false);
    clock.update(kStart + 10ms, 480, 480, false, false);
    clock.update(kStart + 5s, 960, 480, false, false);
    EXPECT_EQ(clock.frameAt(kStart + 5s), 960);
    clock.update(kStart + 5s + 60ms, 1440, 480, false, true);
    EXPECT_EQ(clock.frameAt(kStart + 5s + 60ms), 1440);
}

}  // namespace
}  // namespace zelvane

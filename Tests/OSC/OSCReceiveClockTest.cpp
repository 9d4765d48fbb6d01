// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/OSC/OSCComplaints.h"
#include "Platform/OSC/OSCReceiveClock.h"

#include <gtest/gtest.h>

namespace zelvane {
namespace {

using namespace std::chrono_literals;

constexpr TimePoint kStart{100s};
constexpr Duration kWall = 1'700'000'000s;

TEST(OSCReceiveClock, MovesKernelTimesToTheMonotonicClock) {
    OSCReceiveClock clock({kStart, kWall});
    clock.update({kStart + 5s, kWall + 5s});
    EXPECT_EQ(clock.eventTime(kWall + 4990ms), kStart + 4990ms);
    EXPECT_EQ(clock.eventTime(kWall + 4995ms), kStart + 4995ms);
    EXPECT_EQ(clock.eventTime(std::nullopt), kStart + 5s);
}

TEST(OSCReceiveClock, HoldsTimesToTheLastSecondAndNeverGoesBack) {
    OSCReceiveClock clock({kStart, kWall});
    clock.update({kStart + 5s, kWall + 5s});
    EXPECT_EQ(clock.eventTime(kWall), kStart + 4s);
    EXPECT_EQ(clock.eventTime(kWall + 4500ms), kStart + 4500ms);
    EXPECT_EQ(clock.eventTime(kWall + 4499ms), kStart + 4500ms);
    EXPECT_EQ(clock.eventTime(kWall + 5001ms), kStart + 5s);
}

TEST(OSCReceiveClock, SurvivesASettingOfTheWallClockBetweenReceiptAndReading) {
    for (const Duration set : {Duration(1h), Duration(-1h)}) {
        OSCReceiveClock clock({kStart, kWall});
        clock.update({kStart + 10ms, kWall + 10ms + set});
        EXPECT_EQ(clock.eventTime(kWall + 5ms), kStart + 5ms);
        // The rest of a burst from before the setting, and the first packet after it.
        clock.update({kStart + 20ms, kWall + 20ms + set});
        EXPECT_EQ(clock.eventTime(kWall + 9ms), kStart + 9ms);
        EXPECT_EQ(clock.eventTime(kWall + 19ms + set), kStart + 19ms);
    }
}

TEST(OSCComplaints, ForgetsTheOldestOnly) {
    OSCComplaints complaints;
    for (std::size_t number = 0; number <= OSCComplaints::kCapacity; ++number) {
        EXPECT_TRUE(complaints.isNew(std::to_string(number)));
    }
    EXPECT_FALSE(complaints.isNew("1"));
    EXPECT_TRUE(complaints.isNew("0"));
    EXPECT_TRUE(complaints.isNew("1"));
}

}  // namespace
}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Alsa/AlsaClock.h"

#include <gtest/gtest.h>

namespace zelvane {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr TimePoint kStart{std::chrono::hours(5)};

TEST(AlsaClockTest, EventsLieAsFarBackAsTheQueueSays) {
    AlsaClock clock;
    clock.update(kStart, seconds(20));
    EXPECT_EQ(clock.eventTime(seconds(20) - milliseconds(7)), kStart - milliseconds(7));
    EXPECT_EQ(clock.eventTime(seconds(20) - milliseconds(2)), kStart - milliseconds(2));
}

TEST(AlsaClockTest, WithoutQueueTimeEventsComeWhenTheyAreTaken) {
    AlsaClock clock;
    clock.update(kStart, std::nullopt);
    EXPECT_EQ(clock.eventTime(seconds(3)), kStart);
    clock.update(kStart + seconds(1), seconds(20));
    EXPECT_EQ(clock.eventTime(std::nullopt), kStart + seconds(1));
}

TEST(AlsaClockTest, TimesNeitherGoBackNorLieInTheFutureNorFarInThePast) {
    AlsaClock clock;
    clock.update(kStart, seconds(20));
    EXPECT_EQ(clock.eventTime(seconds(2)), kStart - seconds(1));
    EXPECT_EQ(clock.eventTime(seconds(21)), kStart);
    // A late interrupt: the queue's clock seems to have stood still.
    clock.update(kStart + milliseconds(1), seconds(20) + milliseconds(4));
    EXPECT_EQ(clock.eventTime(seconds(20) + milliseconds(1)), kStart);
}

}  // namespace

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/AudioUnitParameterInfo.h"
#include "Platform/Audio/Units/InstrumentUnit.h"
#include "Platform/Audio/Units/MIDIRefusals.h"
#include "Platform/Foundation/RunLoop.h"
#include "Tests/Fakes/DrivenClock.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/RecordingInstrument.h"

#include <gmock/gmock.h>

#include <array>
#include <thread>

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// A unit on a clock of its own: frame 0 is at time 0, 1000 frames a second, a latency of 100 frames.
struct Rig {
    explicit Rig(TimePoint start = DrivenClock::kStart) {
        frameClock.reset(1000);
        frameClock.update(start, 0, 100, true, false);
    }

    /// Sends a message with that event time, as work on the player thread would.
    OSStatus sendAt(Duration time, std::uint32_t status, std::uint32_t data1, std::uint32_t data2) {
        OSStatus result = kNoError;
        clock.advance(std::max(DrivenClock::kStart + time - clock.now(), Duration::zero()));
        loop.performAt(DrivenClock::kStart + time, [&] { result = unit.midiEvent(status, data1, data2, 0); });
        loop.runOnce();
        return result;
    }

    bool render(std::uint32_t frames) {
        const bool sounds = unit.render({frameClock, frame, 100, frames, left.data(), right.data()});
        frame += frames;
        return sounds;
    }

    DrivenClock clock;
    RunLoop loop{clock};
    RecordingInstrument* instrument = new RecordingInstrument;
    InstrumentUnit unit{std::unique_ptr<Instrument>(instrument)};
    FrameClock frameClock;
    std::int64_t frame = 0;
    std::array<float, 1024> left{}, right{};
};

TEST(InstrumentUnit, EventsSoundOneLatencyAfterTheirTimeWhateverTheBlocks) {
    for (const std::uint32_t block : {1U, 7U, 64U, 250U, 1024U}) {
        Rig rig;
        rig.sendAt(3ms, 0x90, 60, 100);
        rig.sendAt(150ms, 0x80, 60, 0);
        rig.sendAt(149ms, 0xE0, 0, 64);
        while (rig.frame < 300) rig.render(block);
        EXPECT_THAT(rig.instrument->played, ElementsAre(PlayedEvent{103, 0x90, 60, 100}, PlayedEvent{249, 0xE0, 0, 64},
                                                        PlayedEvent{250, 0x80, 60, 0}))
            << "blocks of " << block;
        EXPECT_EQ(rig.unit.lateEvents(), 0U);
    }
}

TEST(InstrumentUnit, EventsOfOneFrameKeepTheirOrderAndLateOnesPlayAtOnceAndAreCounted) {
    Rig rig;
    rig.frame = 400;
    rig.sendAt(9ms, 0xE0, 0, 64);
    rig.render(100);
    EXPECT_EQ(rig.unit.lateEvents(), 0U) << "nothing was played yet";
    rig.instrument->played.clear();
    rig.sendAt(310ms, 0xB0, 0, 1);
    rig.sendAt(310ms, 0xC0, 5, 0);
    rig.sendAt(310ms, 0x90, 64, 1);
    rig.render(100);
    EXPECT_THAT(rig.instrument->played,
                ElementsAre(PlayedEvent{100, 0xB0, 0, 1}, PlayedEvent{100, 0xC0, 5, 0}, PlayedEvent{100, 0x90, 64, 1}));
    EXPECT_EQ(rig.unit.lateEvents(), 3U);
}

TEST(InstrumentUnit, WhatIsNoMidiIsRefusedCountedAndLoggedOnce) {
    LogLines log;
    Rig rig;
    const auto before = refusedMIDIEvents();
    for (const std::uint32_t status : {0U, 0x7FU, 0x7FU, 0xF0U, 0xFFU, 0x190U}) {
        EXPECT_EQ(rig.sendAt(0ms, status, 60, 100), kAudio_ParamError);
    }
    EXPECT_EQ(rig.sendAt(0ms, 0x90, 128, 100), kAudio_ParamError);
    EXPECT_EQ(rig.sendAt(0ms, 0x90, 42949672, 100), kAudio_ParamError);
    EXPECT_EQ(refusedMIDIEvents() - before, 8U);
    EXPECT_EQ(log.all().size(), 3U);
    EXPECT_EQ(rig.sendAt(0ms, 0x90, 60, 4294967295U), kNoError);
    rig.render(200);
    EXPECT_THAT(rig.instrument->played, ElementsAre(PlayedEvent{100, 0x90, 60, 127}));
}

// With nobody to take the events the sender must not hang, and afterwards no note may.
TEST(InstrumentUnit, AFullQueueOfASilentUnitLosesCountsAndLeavesNoNoteHanging) {
    LogLines log;
    Rig rig(Clock::monotonic().now());
    std::uint64_t refused = 0;
    for (int i = 0; i < 9000; ++i) {
        if (rig.unit.midiEvent(i % 2 == 0 ? 0x90 : 0xB0, 60, 100, 0) != kNoError) ++refused;
    }
    EXPECT_EQ(rig.unit.lostEvents(), refused);
    EXPECT_GT(refused, 0U);
    EXPECT_EQ(log.all().size(), 1U);
    for (int i = 0; i < 100; ++i) rig.render(100);
    EXPECT_EQ(rig.instrument->silenced, 1);
    const auto isNoteOn = [](const PlayedEvent& event) { return event.status == 0x90; };
    EXPECT_EQ(std::count_if(rig.instrument->played.begin(), rig.instrument->played.end(), isNoteOn), 0);
    EXPECT_GT(rig.instrument->played.size(), 1000U);
}

TEST(InstrumentUnit, ABurstOfTwentyThousandFromTwoThreadsArrivesWholeWhileItRenders) {
    Rig rig(Clock::monotonic().now());
    std::atomic<bool> isDone{false};
    std::thread audio([&] {
        while (!isDone) rig.render(64);
        for (int i = 0; i < 400; ++i) rig.render(1024);
    });
    const auto send = [&](std::uint32_t channel) {
        for (std::uint32_t i = 0; i < 10000; ++i) rig.unit.midiEvent(0x90 + channel, i & 127, 1 + (i >> 7), 0);
    };
    std::thread other(send, 1);
    send(0);
    other.join();
    isDone = true;
    audio.join();
    std::array<std::uint32_t, 2> next{};
    for (const PlayedEvent& event : rig.instrument->played) {
        std::uint32_t& expected = next[event.status & 1];
        ASSERT_EQ((static_cast<std::uint32_t>(event.data2 - 1) << 7) + event.data1, expected);
        ++expected;
    }
    EXPECT_THAT(next, ElementsAre(10000U, 10000U));
    EXPECT_EQ(rig.unit.lostEvents(), 0U);
}

TEST(InstrumentUnit, ParametersAndPropertiesReachTheInstrumentOrAreRefused) {
    Rig rig;
    AudioUnit* unit = &rig.unit;
    rig.unit.prepare(96000, 1024);
    const auto setParameter = [&](AudioUnitParameterID id, AudioUnitScope scope, float value) {
        return AudioUnitSetParameter(unit, id, scope, 0, value, 0);
    };
    EXPECT_EQ(setParameter(7, kAudioUnitScope_Global, 99), kNoError);
    rig.sendAt(0ms, 0x90, 60, 64);
    rig.render(101);
    EXPECT_EQ(rig.left[100], 1) << "held to its range";
    rig.instrument->restoreParameter(0.5F);
    float value = 0;
    EXPECT_EQ(AudioUnitGetParameter(unit, 7, kAudioUnitScope_Global, 0, &value), kNoError);
    EXPECT_EQ(value, 0.5F);
    EXPECT_EQ(setParameter(7, kAudioUnitScope_Global, std::nanf("")), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(setParameter(8, kAudioUnitScope_Global, 0), kAudioUnitErr_InvalidParameter);
    EXPECT_EQ(setParameter(7, kAudioUnitScope_Output, 0), kAudioUnitErr_InvalidScope);

    AudioStreamBasicDescription format;
    std::uint32_t size = sizeof format;
    EXPECT_EQ(AudioUnitGetProperty(unit, 8, kAudioUnitScope_Output, 0, &format, &size), kNoError);
    EXPECT_EQ(format.mSampleRate, 96000);
    size = 3;
    EXPECT_EQ(AudioUnitGetProperty(unit, 8, 0, 0, &format, &size), kAudioUnitErr_InvalidPropertyValue);
    AudioUnitParameterInfo info;
    size = sizeof info;
    EXPECT_EQ(AudioUnitGetProperty(unit, 4, 0, 6, &info, &size), kAudioUnitErr_InvalidParameter);
    const std::uint32_t on = 1;
    EXPECT_EQ(AudioUnitSetProperty(unit, 1005, 0, 0, &on, 3), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(AudioUnitSetProperty(unit, 2, 0, 0, &on, 4), kAudioUnitErr_PropertyNotWritable);
    EXPECT_EQ(AudioUnitSetProperty(unit, 1005, 0, 1, &on, 4), kAudioUnitErr_InvalidElement);
}

}  // namespace
}  // namespace zelvane

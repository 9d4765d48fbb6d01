// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/AUListener.h"
#include "Platform/Audio/Units/InstrumentUnit.h"
#include "Platform/Foundation/RunLoop.h"
#include "Tests/Fakes/DrivenClock.h"
#include "Tests/Fakes/RecordingInstrument.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr AudioUnitPropertyID kNumber = RecordingInstrument::kNumber;

struct Unit : InstrumentUnit {
    Unit() : InstrumentUnit(std::make_unique<RecordingInstrument>()) {}

    OSStatus setNumber(std::uint64_t value) {
        return AudioUnitSetProperty(this, kNumber, kAudioUnitScope_Global, 0, &value, sizeof value);
    }
    AudioUnitParameter gain() { return {this, 7, kAudioUnitScope_Global, 0}; }
};

/// What a listener was told.
struct Heard {
    static void parameter(void* self, void* object, const AudioUnitParameter&, float value) {
        static_cast<Heard*>(self)->values.emplace_back(*static_cast<const char*>(object), value);
    }
    static void property(void* self, AudioUnit*, AudioUnitPropertyID, AudioUnitScope, AudioUnitElement) {
        ++static_cast<Heard*>(self)->properties;
    }

    std::vector<std::pair<char, float>> values;
    std::atomic<int> properties{0};
};

OSStatus edit(Unit& unit, float value, const AUParameterListenerRef& sender = nullptr, void* object = nullptr) {
    return AUParameterSet(sender, object, unit.gain(), value, 0);
}

/// Copies what it hears of to another unit, as two editors that are open at a time would have it.
struct Copier {
    static void copy(void* self, AudioUnit* source, AudioUnitPropertyID id, AudioUnitScope, AudioUnitElement) {
        auto* other = static_cast<Copier*>(self)->target;
        std::uint64_t value = 0;
        std::uint32_t size = sizeof value;
        AudioUnitGetProperty(source, id, kAudioUnitScope_Global, 0, &value, &size);
        auto& back = *static_cast<Copier*>(self)->back;
        const bool wasThere = AudioUnitRemovePropertyListenerWithUserData(other, id, copy, &back) == kNoError;
        AudioUnitSetProperty(other, id, kAudioUnitScope_Global, 0, &value, size);
        if (wasThere) AudioUnitAddPropertyListener(other, id, copy, &back);
    }
    AudioUnit* target = nullptr;
    Copier* back = nullptr;
};

TEST(PropertyListeners, TwoThreadsThatCopyToEachOtherDoNotStandStillWhileListenersComeAndGo) {
    Unit first, second;
    Copier forth{&second, nullptr}, back{&first, &forth};
    forth.back = &back;
    AudioUnitAddPropertyListener(&first, kNumber, Copier::copy, &forth);
    AudioUnitAddPropertyListener(&second, kNumber, Copier::copy, &back);
    const auto setOften = [](Unit& unit) {
        for (std::uint64_t i = 0; i < 3000; ++i) unit.setNumber(i);
    };
    std::thread one([&] { setOften(first); });
    std::thread two([&] { setOften(second); });
    Heard heard;
    for (int i = 0; i < 3000; ++i) {
        AudioUnitAddPropertyListener(&first, kNumber, Heard::property, &heard);
        AudioUnitRemovePropertyListenerWithUserData(&first, kNumber, Heard::property, &heard);
    }
    one.join();
    two.join();
    EXPECT_EQ(first.setNumber(5), kNoError);
}

struct SlowListener {
    static void hear(void* self, AudioUnit*, AudioUnitPropertyID, AudioUnitScope, AudioUnitElement) {
        auto& slow = *static_cast<SlowListener*>(self);
        slow.isInside = true;
        while (!slow.mayEnd) std::this_thread::yield();
        slow.isInside = false;
    }
    std::atomic<bool> isInside{false}, mayEnd{false};
};

TEST(PropertyListeners, RemovingAllOfOneWaitsForTheCallOfAnotherThread) {
    Unit unit;
    SlowListener slow;
    AudioUnitAddPropertyListener(&unit, kNumber, SlowListener::hear, &slow);
    std::thread editor([&] { unit.setNumber(1); });
    while (!slow.isInside) std::this_thread::yield();
    std::thread letGo([&] { slow.mayEnd = true; });
    unit.propertyListeners().removeAllOf(&slow);
    EXPECT_FALSE(slow.isInside);
    letGo.join();
    editor.join();
    unit.setNumber(2);
    EXPECT_FALSE(slow.isInside);
}

TEST(ParameterListeners, HearTheNewestValueOnceInAnIntervalForEachObject) {
    DrivenClock clock;
    RunLoop loop(clock);
    loop.attachToCurrentThread();
    Unit unit;
    Heard heard;
    char a = 'a', b = 'b';
    AUParameterListenerRef listener;
    ASSERT_EQ(AUListenerCreate(Heard::parameter, &heard, nullptr, 100ms, listener), kNoError);
    for (char* object : {&a, &b, &a}) EXPECT_EQ(AUListenerAddParameter(listener, object, unit.gain()), kNoError);
    const auto heardAfter = [&](Duration time) {
        heard.values.clear();
        clock.advance(time);
        while (loop.runOnce(clock.now())) {
        }
        return heard.values;
    };
    edit(unit, 0.5F);
    edit(unit, 1.5F);
    EXPECT_THAT(heard.values, IsEmpty()) << "not within the edit";
    EXPECT_THAT(heardAfter(0ms), ElementsAre(std::pair('a', 1.5F), std::pair('b', 1.5F)));
    edit(unit, 0.7F, listener, &a);
    EXPECT_THAT(heardAfter(99ms), IsEmpty());
    EXPECT_THAT(heardAfter(1ms), ElementsAre(std::pair('b', 0.7F))) << "the sender knows it";
    EXPECT_EQ(AUListenerRemoveParameter(listener, &b, unit.gain()), kNoError);
    EXPECT_EQ(AUListenerRemoveParameter(listener, &b, unit.gain()), kAudioUnitErr_InvalidParameter);
    edit(unit, 0.1F);
    EXPECT_THAT(heardAfter(1s), ElementsAre(std::pair('a', 0.1F)));
    edit(unit, 0.2F);
    const AUParameterListenerRef kept = listener;
    AUListenerDispose(listener);
    EXPECT_THAT(heardAfter(1s), IsEmpty());
}

TEST(ParameterListeners, AThreadWithoutARunLoopTellsAtOnceAndAGoneUnitNeverAgain) {
    Heard heard;
    char a = 'a';
    AUParameterListenerRef listener;
    AUListenerCreate(Heard::parameter, &heard, nullptr, 100ms, listener);
    DrivenClock clock;
    RunLoop loop(clock);
    {
        Unit unit;
        AUListenerAddParameter(listener, &a, unit.gain());
        std::thread([&] { edit(unit, 0.5F); }).join();
        EXPECT_THAT(heard.values, SizeIs(1));
        loop.perform([&] { edit(unit, 0.6F); });
        loop.runOnce(clock.now());
    }
    clock.advance(1s);
    while (loop.runOnce(clock.now())) {
    }
    EXPECT_THAT(heard.values, SizeIs(1));
}

}  // namespace
}  // namespace zelvane

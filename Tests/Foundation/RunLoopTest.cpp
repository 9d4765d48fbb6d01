// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Error.h"
#include "Platform/Foundation/EventLoopGuest.h"
#include "Platform/Foundation/RunLoop.h"
#include "Tests/Fakes/DrivenClock.h"
#include "Tests/Fakes/LogLines.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace zelvane {

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// A loop on a driven clock, and a list of what ran with its event time in milliseconds after the start.
class RunLoopTest : public testing::Test {
  protected:
    RunLoopTest() { loop.attachToCurrentThread(); }

    void note(const std::string& name) {
        const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(RunLoop::now() - DrivenClock::kStart);
        ran.push_back(name + "@" + std::to_string(time.count()));
    }

    std::shared_ptr<Timer> timerAfter(Duration interval, const std::string& name) {
        return Timer::after(interval, [this, name](Timer&) { note(name); });
    }

    void runFor(Duration span) { runUntil(loop, clock.now() + span); }

    DrivenClock clock;
    RunLoop loop{clock};
    std::vector<std::string> ran;
};

TEST_F(RunLoopTest, RunsAllKindsOfWorkByEventTimeThenByCreation) {
    const auto late = timerAfter(20ms, "late timer");
    const auto early = timerAfter(10ms, "early timer");
    const auto twin = timerAfter(10ms, "twin timer");
    loop.performAfter(10ms, [this] { note("delayed"); });
    loop.performAt(DrivenClock::kStart - 5ms, [this] { note("packet"); });
    loop.perform([this] { note("perform"); });
    loop.add(twin);
    loop.add(late);
    loop.add(early);
    runFor(1s);
    EXPECT_THAT(
        ran, ElementsAre("packet@-5", "perform@0", "early timer@10", "twin timer@10", "delayed@10", "late timer@20"));
}

TEST_F(RunLoopTest, LateWakeUpsDoNotAddUp) {
    std::function<void(int)> chain = [&](int left) {
        note("step");
        clock.advance(7ms);  // the work takes longer than expected
        if (left > 0) loop.performAfter(5ms, [&chain, left] { chain(left - 1); });
    };
    loop.perform([&] { chain(3); });
    runFor(1s);
    EXPECT_THAT(ran, ElementsAre("step@0", "step@5", "step@10", "step@15"));
}

TEST_F(RunLoopTest, APassRunsOneItemAndRespectsItsLimit) {
    loop.perform([this] { note("first"); });
    loop.perform([this] { note("second"); });
    loop.performAfter(10ms, [this] { note("third"); });
    EXPECT_TRUE(loop.runOnce(clock.now()));
    EXPECT_THAT(ran, ElementsAre("first@0"));
    EXPECT_TRUE(loop.runOnce(clock.now()));
    EXPECT_FALSE(loop.runOnce(clock.now()));
    EXPECT_FALSE(loop.runOnce(clock.now() + 9ms));
    EXPECT_EQ(clock.now(), DrivenClock::kStart + 9ms);
    EXPECT_TRUE(loop.runOnce(DrivenClock::kStart + 10ms));
    EXPECT_THAT(ran, ElementsAre("first@0", "second@0", "third@10"));
}

TEST_F(RunLoopTest, ATimerKeepsItsDateHoweverLateItIsScheduled) {
    const auto forgotten = timerAfter(1ms, "forgotten");
    const auto timer = timerAfter(10ms, "timer");
    const auto overdue = timerAfter(-1h, "overdue");
    clock.advance(50ms);
    loop.add(timer);
    loop.add(timer);
    loop.add(overdue);
    runFor(1s);
    loop.add(timer);
    runFor(1s);
    EXPECT_THAT(ran, ElementsAre("overdue@0", "timer@10"));
    EXPECT_FALSE(timer->isValid());
    EXPECT_TRUE(forgotten->isValid());
}

TEST_F(RunLoopTest, AnInvalidatedTimerNeverFiresAndLetsGoOfWhatItHolds) {
    const auto held = std::make_shared<int>(0);
    const auto before = Timer::after(10ms, [held](Timer&) { ++*held; });
    const auto added = Timer::after(10ms, [held](Timer&) { ++*held; });
    const auto oneShot = Timer::after(20ms, [held](Timer&) { *held += 100; });
    before->invalidate();
    loop.add(before);
    loop.add(added);
    loop.add(oneShot);
    loop.perform([&] { added->invalidate(); });
    EXPECT_TRUE(loop.runOnce());
    EXPECT_TRUE(loop.runOnce());  // passes over the invalid timer
    EXPECT_EQ(*held, 100);
    EXPECT_EQ(held.use_count(), 2);  // ours, and that of the timer no loop ever had
    const auto distant = Timer::after(10000h, [held](Timer&) {});
    loop.add(distant);
    distant->invalidate();
    EXPECT_EQ(held.use_count(), 2) << "kept until its date";
}

TEST_F(RunLoopTest, RepeatingTimersSkipWhatTheyMissedAndStopThemselves) {
    int count = 0;
    const auto timer = Timer::every(10ms, [&](Timer& self) {
        note("tick");
        if (++count == 1) clock.advance(35ms);
        if (count == 3) self.invalidate();
    });
    loop.add(timer);
    loop.add(timer);
    runFor(1s);
    EXPECT_THAT(ran, ElementsAre("tick@10", "tick@50", "tick@60"));

    count = 10;
    const auto tooFast = Timer::every(-1s, [&](Timer& self) {
        if (++count == 20) self.invalidate();
    });
    loop.add(tooFast);
    const TimePoint start = clock.now();
    runFor(1s);
    EXPECT_EQ(count, 20);
    EXPECT_EQ(tooFast->fireDate(), start + 10 * 100us);
}

TEST_F(RunLoopTest, AnExceptionEndsOnlyTheWorkItAroseIn) {
    const LogLines log;
    loop.perform([] { throw RangeError("index 5 beyond\nbounds"); });
    const auto timer = Timer::every(10ms, [](Timer&) { throw std::runtime_error("tick"); });
    loop.add(timer);
    EXPECT_TRUE(loop.perform([] { throw 1; }, RunLoop::Wait::yes));
    runFor(25ms);
    EXPECT_THAT(log.all(), ElementsAre("RunLoop: [runMode:beforeDate:] unknown exception",
                                       "RunLoop: [runMode:beforeDate:] index 5 beyond\\nbounds",
                                       "RunLoop: [runMode:beforeDate:] tick", "RunLoop: [runMode:beforeDate:] tick"));
}

TEST_F(RunLoopTest, NowAndCurrentFollowNestedLoops) {
    RunLoop inner(clock);
    inner.performAt(DrivenClock::kStart - 3ms, [&] {
        EXPECT_EQ(RunLoop::current(), &inner);
        note("inner");
        EXPECT_TRUE(loop.perform([this] { note("outer from inner"); }, RunLoop::Wait::yes));
    });
    loop.perform([&] {
        EXPECT_EQ(RunLoop::current(), &loop);
        clock.advance(5ms);
        inner.runOnce();
        note("outer");
    });
    runFor(1ms);
    EXPECT_THAT(ran, ElementsAre("inner@-3", "outer from inner@-3", "outer@0"));
    EXPECT_EQ(RunLoop::now(), clock.now());
}

TEST_F(RunLoopTest, AnEndedLoopRefusesWorkAndDropsWhatItHas) {
    const auto held = std::make_shared<int>(0);
    const auto timer = Timer::after(0ms, [held](Timer&) { ++*held; });
    {
        RunLoop ending(clock);
        ending.perform([&] { ending.end(); });
        ending.perform([held] { ++*held; });
        ending.run();
        EXPECT_TRUE(ending.hasEnded());
        EXPECT_FALSE(ending.runOnce());
        EXPECT_FALSE(ending.perform([held] { ++*held; }));
        EXPECT_FALSE(ending.perform([held] { ++*held; }, RunLoop::Wait::yes));
        ending.add(timer);
    }
    EXPECT_EQ(*held, 0);
    EXPECT_EQ(held.use_count(), 2);
}

TEST_F(RunLoopTest, SpansStayInRange) {
    EXPECT_EQ(secondsToDuration(0.1), 100ms);
    EXPECT_EQ(secondsToDuration(1e300), secondsToDuration(100 * 365.25 * 86400));
    EXPECT_EQ(secondsToDuration(-1e300), -secondsToDuration(1e300));
    EXPECT_EQ(secondsToDuration(std::stod("nan")), 0s);
    const auto never = Timer::after(Duration::max(), [](Timer&) {});
    EXPECT_EQ(never->fireDate(), TimePoint::max());
    loop.performAt(TimePoint::max(), [this] { note("at the end of time"); });
    loop.performAt(DrivenClock::kStart + 7ms, [this] { note("announced"); });
    EXPECT_FALSE(loop.runOnce(DrivenClock::kStart + 6ms));
    EXPECT_TRUE(loop.runOnce());
    EXPECT_THAT(ran, ElementsAre("announced@7"));
}

/// A toolkit with one event that waits; it serves the run loop from within, as a modal dialog does.
class Toolkit final : public EventLoopGuest {
  public:
    Toolkit(RunLoop& theLoop, DrivenClock& theClock) : loop(theLoop), clock(theClock) { loop.setGuest(this); }
    ~Toolkit() override { loop.setGuest(nullptr); }

    void wakeUp() override { ++wakeUps; }
    void serveUntil(std::optional<TimePoint> date) override {
        if (event) std::exchange(event, nullptr)();
        if (date && clock.now() < *date) clock.advance(*date - clock.now());
    }
    void serveWaiting() override { ++turns; }

    RunLoop& loop;
    DrivenClock& clock;
    std::function<void()> event;
    int wakeUps = 0, turns = 0;
};

TEST_F(RunLoopTest, ServesItsGuestInsteadOfWaiting) {
    Toolkit toolkit(loop, clock);
    loop.performAfter(10ms, [this] { note("delayed"); });
    EXPECT_EQ(toolkit.wakeUps, 1);
    loop.performAfter(20ms, [this] { note("later"); });
    EXPECT_EQ(toolkit.wakeUps, 1) << "for what is not the next";
    toolkit.event = [this] {
        loop.perform([this] { note("from the dialog"); });
        runUntil(loop, clock.now());
    };
    EXPECT_TRUE(loop.runOnce()) << "a pass made by the guest counts";
    EXPECT_THAT(ran, ElementsAre("from the dialog@0"));
    runFor(1s);
    EXPECT_THAT(ran, ElementsAre("from the dialog@0", "delayed@10", "later@20"));
    loop.end();
    EXPECT_GT(toolkit.wakeUps, 1) << "the end is told";
    EXPECT_FALSE(loop.runOnce());
}

TEST_F(RunLoopTest, GivesItsGuestAMomentWhileItIsBusy) {
    Toolkit toolkit(loop, clock);
    const auto pass = [&] {
        loop.perform([] {});
        loop.runOnce();
        clock.advance(10us);
    };
    for (int count = 0; count < 1000; ++count) pass();
    EXPECT_GE(toolkit.turns, 4);
    EXPECT_LE(toolkit.turns, 6) << "10 ms of passes";
}

}  // namespace

}  // namespace zelvane

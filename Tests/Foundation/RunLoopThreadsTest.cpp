// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/RunLoop.h"
#include "Platform/Foundation/Thread.h"
#include "Tests/Fakes/LogLines.h"

#include <gmock/gmock.h>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <future>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace zelvane {

namespace {

using testing::ElementsAre;
using Wait = RunLoop::Wait;

/// A loop that runs on a thread of its own until the test ends.
class LoopThread {
  public:
    explicit LoopThread(ThreadRole role = ThreadRole::ordinary)
        : _thread(startThread("test loop", role, [this] { loop.run(); })) {}
    ~LoopThread() {
        loop.end();
        _thread.join();
    }

    RunLoop loop;

  private:
    std::jthread _thread;
};

TEST(RunLoopThreadsTest, ManyPerformsFromManyThreadsAllRunInTheOrderOfEachThread) {
    constexpr int kThreads = 4;
    constexpr int kPerforms = 20000;
    LoopThread target;
    std::array<std::vector<int>, kThreads> ran;  // written on the loop's thread alone
    {
        std::vector<std::jthread> senders;
        senders.reserve(ran.size());
        for (auto& list : ran) {
            senders.emplace_back([&target, &list] {
                for (int i = 0; i < kPerforms; ++i) target.loop.perform([&list, i] { list.push_back(i); });
            });
        }
    }
    ASSERT_TRUE(target.loop.perform([] {}, Wait::yes));
    for (const auto& list : ran) {
        EXPECT_EQ(list.size(), std::size_t{kPerforms});
        EXPECT_TRUE(std::is_sorted(list.begin(), list.end()));
    }
}

TEST(RunLoopThreadsTest, LoopsMayWaitForEachOtherInARing) {
    LoopThread a, b, c;
    std::latch allBusy(3), allDone(3);
    std::array<int, 3> visits{};
    const auto visit = [&](RunLoop& next, int& visited) {
        allBusy.arrive_and_wait();  // from here on each waits for the next
        for (int i = 0; i < 200; ++i) EXPECT_TRUE(next.perform([&] { ++visited; }, Wait::yes));
        allDone.count_down();
    };
    a.loop.perform([&] { visit(b.loop, visits[1]); });
    b.loop.perform([&] { visit(c.loop, visits[2]); });
    c.loop.perform([&] { visit(a.loop, visits[0]); });
    allDone.wait();
    EXPECT_THAT(visits, ElementsAre(200, 200, 200));
}

TEST(RunLoopThreadsTest, AWaitingLoopServesOnlyThoseWhoWaitForIt) {
    RunLoop mine;
    mine.attachToCurrentThread();
    LoopThread player;
    std::vector<std::string> ran;
    mine.perform([&] { ran.emplace_back("ordinary"); });
    EXPECT_TRUE(player.loop.perform(
        [&] {
            mine.perform([&] { ran.emplace_back("posted back"); });
            EXPECT_TRUE(mine.perform([&] { ran.emplace_back("waited for"); }, Wait::yes));
        },
        Wait::yes));
    EXPECT_THAT(ran, ElementsAre("waited for"));
    EXPECT_TRUE(mine.runOnce(TimePoint::min()));
    EXPECT_TRUE(mine.runOnce(TimePoint::min()));
    EXPECT_THAT(ran, ElementsAre("waited for", "ordinary", "posted back"));
}

TEST(RunLoopThreadsTest, ALoopThatEndsReleasesItsWaiters) {
    for (int round = 0; round < 200; ++round) {
        auto target = std::make_unique<RunLoop>();
        std::latch asked(1);
        auto waiter = std::async(std::launch::async, [&] {
            RunLoop own;
            own.attachToCurrentThread();
            asked.count_down();
            return target->perform([] {}, Wait::yes);
        });
        asked.wait();
        target->end();  // before, while or after the waiter asks
        EXPECT_FALSE(waiter.get());
        target.reset();
    }
}

TEST(RunLoopThreadsTest, ALoopMayGoAwayAsSoonAsItsLastWorkRan) {
    for (int round = 0; round < 200; ++round) {
        auto loop = std::make_unique<RunLoop>();
        std::jthread sender([target = loop.get()] { target->perform([target] { target->end(); }); });
        loop->run();
        loop.reset();
        EXPECT_EQ(RunLoop::current(), nullptr);
    }
}

TEST(RunLoopThreadsTest, WorkWakesALoopThatSleepsTowardsALaterDate) {
    LoopThread target;
    std::promise<void> slept;
    target.loop.performAfter(std::chrono::hours(1), [] {});
    const auto timer = Timer::after(std::chrono::milliseconds(5), [&](Timer& self) {
        EXPECT_EQ(RunLoop::now(), self.fireDate());
        EXPECT_GE(Clock::monotonic().now(), self.fireDate());
        slept.set_value();
    });
    target.loop.add(timer);
    slept.get_future().wait();
    EXPECT_TRUE(target.loop.perform([] {}, Wait::yes));
}

TEST(ThreadTest, RunsUnderItsNameAndTellsWhatEndedIt) {
    const LogLines log;
    std::string name(16, '\0');
    startThread("fifteen bytes µ", ThreadRole::ordinary, [&] {
        pthread_getname_np(pthread_self(), name.data(), name.size());
        throw std::runtime_error("no more");
    }).join();
    EXPECT_STREQ(name.c_str(), "fifteen bytes ");
    EXPECT_THAT(log.all(), ElementsAre("Thread: [main] fifteen bytes µ ended by an exception: no more"));
}

TEST(ThreadTest, PrioritiesAreGrantedOrDoneWithoutAndNeverInherited) {
    const auto policyUnder = [](ThreadRole role, int& priority) {
        bool isGranted = false;
        int inherited = 0, inheritedNice = 0;
        startThread("role", role, [&] {
            isGranted = adoptRole(role);
            sched_param parameters{};
            int policy = 0;
            pthread_getschedparam(pthread_self(), &policy, &parameters);
            priority = parameters.sched_priority;
            std::jthread([&] {
                inherited = sched_getscheduler(0);
                inheritedNice = getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
            }).join();
        }).join();
        EXPECT_EQ(inherited, SCHED_OTHER);
        EXPECT_GE(inheritedNice, 0);
        return isGranted;
    };
    int player = 0, reader = 0, audio = 0;
    const bool isGranted = policyUnder(ThreadRole::player, player);
    EXPECT_EQ(policyUnder(ThreadRole::reader, reader), isGranted);
    EXPECT_EQ(policyUnder(ThreadRole::audio, audio), isGranted);
    if (isGranted) {
        EXPECT_LT(player, reader);
        EXPECT_LT(reader, audio);
    } else {
        EXPECT_EQ(player + reader + audio, 0);
    }
}

}  // namespace

}  // namespace zelvane

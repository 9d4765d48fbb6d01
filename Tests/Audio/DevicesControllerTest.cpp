// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/OutputDeviceController.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/RecordingRenderer.h"
#include "Tests/Fakes/SteppedDevice.h"

#include <gtest/gtest.h>

#include <optional>
#include <thread>

namespace zelvane {
namespace {

using std::chrono::milliseconds;
using Choice = OutputDeviceController::Choice;

/// Two servers and the fallback, all stepped by hand.
class Controller : public testing::Test {
  protected:
    void start() {
        controller.emplace(SteppedDevice::backEnds({&first, &second, &fallback}), renderer, [this] { ++rounds; });
    }
    bool plays(const std::string& name) {
        return waitFor([&] { return controller->status().current.device == name; });
    }
    static bool isHeard(const std::vector<std::vector<float>>& buffers) {
        return !buffers.empty() && buffers[0][0] == RecordingRenderer::kSample;
    }

    SteppedDevice first{"first"};
    SteppedDevice second{"second", {.sampleRate = 44100, .periodFrames = 128}};
    SteppedDevice fallback{"fallback"};
    RecordingRenderer renderer;
    LogLines log;
    std::atomic<int> rounds{0};
    std::optional<OutputDeviceController> controller;
};

TEST_F(Controller, followsTheMostPreferredDefaultButNeverJumpsFromOneServerToAnother) {
    first.die();
    second.die();
    start();
    controller->select({});
    EXPECT_EQ(controller->status().current.device, "fallback") << "select returns when something plays";
    EXPECT_TRUE(controller->status().isFallback);
    second.comeBack();
    ASSERT_TRUE(plays("second"));
    EXPECT_FALSE(controller->status().isFallback);
    EXPECT_EQ(controller->defaultDevice(), (Choice{"second", "second"}));
    first.comeBack();
    controller->select({});
    EXPECT_EQ(controller->status().current.device, "second");
    EXPECT_EQ(controller->devices().size(), 3U);
    EXPECT_EQ(controller->devices().back().first, (Choice{"fallback", "fallback"}));
    // Another server takes over when the one that played is gone.
    second.die();
    ASSERT_TRUE(plays("first"));
    EXPECT_FALSE(renderer.hasOverlapped());
    EXPECT_TRUE(waitFor([&] { return rounds > 2; }));
}

TEST_F(Controller, leavesALostChoiceForTheFallbackAndTakesItUpAgain) {
    second.die();
    start();
    controller->select({"second", "second"});
    EXPECT_EQ(controller->status().current.device, "fallback");
    EXPECT_TRUE(controller->status().isFallback);
    second.comeBack();
    ASSERT_TRUE(plays("second")) << "which was kept as a wish";
    EXPECT_EQ(controller->status().format.sampleRate, 44100);
    EXPECT_TRUE(isHeard(second.step(128)));
    Duration fastest = milliseconds(5000);  // of several: the machine may be busy
    for (int i = 0; i < 5; ++i) {
        second.die();
        const TimePoint died = Clock::monotonic().now();
        ASSERT_TRUE(waitFor([&] { return isHeard(fallback.step(64)); }));
        fastest = std::min(fastest, Clock::monotonic().now() - died);
        EXPECT_FALSE(isHeard(second.step(128))) << "two devices are heard";
        EXPECT_TRUE(plays("fallback") && controller->status().isFallback);
        second.comeBack();
        ASSERT_TRUE(waitFor([&] { return isHeard(second.step(128)); }));
        EXPECT_FALSE(isHeard(fallback.step(64)));
    }
    EXPECT_LT(fastest, milliseconds(100));
    EXPECT_LE(first.timesOpened(), 1) << "something that was not chosen played";
    EXPECT_EQ(renderer.formats().back().sampleRate, 44100);
    EXPECT_FALSE(renderer.hasOverlapped());
    const auto lines = log.all();
    EXPECT_EQ(std::ranges::count(lines, "OutputDeviceController: [watch] lost second"), 5);
    EXPECT_EQ(std::ranges::count(lines, "OutputDeviceController: [watch] playing on fallback at 48000 Hz, 512 frames"),
              6)
        << "one of them before it was there";
    controller->select({"nobody", "nothing"});
    EXPECT_EQ(controller->status().current.device, "fallback");
    controller->select({"fallback", "fallback"});
    EXPECT_FALSE(controller->status().isFallback);
    controller->select({});
    EXPECT_EQ(controller->status().current.device, "first");
}

TEST_F(Controller, opensADeviceAgainForAnotherFormatOrPeriod) {
    start();
    controller->select({});
    const std::size_t prepared = renderer.formats().size();
    first.setFormat({.sampleRate = 96000});
    ASSERT_TRUE(waitFor([&] { return controller->status().format.sampleRate == 96000; }));
    EXPECT_EQ(renderer.formats().size(), prepared + 1) << "nothing else played in between";
    EXPECT_EQ(renderer.formats().back().sampleRate, 96000);
    controller->setPeriodFrames(64);
    EXPECT_EQ(first.wishedPeriod(), 64U);
    const int opened = first.timesOpened();
    controller->setPeriodFrames(64);
    controller->select({});
    EXPECT_EQ(first.timesOpened(), opened) << "opened again for nothing";
    EXPECT_FALSE(renderer.hasOverlapped());
}

TEST_F(Controller, isHeldUpByNoServerThatHangs) {
    start();
    controller->select({});
    second.setHanging(true);
    const TimePoint asked = Clock::monotonic().now();
    std::jthread user([this] { controller->select({"second", "second"}); });
    EXPECT_TRUE(isHeard(first.step(64))) << "the old device is left before there is a new one";
    user.join();
    EXPECT_LT(Clock::monotonic().now() - asked, milliseconds(5000)) << "twice the patience";
    EXPECT_TRUE(isHeard(fallback.step(64)));
    Duration fastest = Duration::max();  // of several: the machine may be busy
    for (int i = 0; i < 3; ++i) {
        const TimePoint asking = Clock::monotonic().now();
        EXPECT_GE(controller->devices().size(), 2U);
        fastest = std::min(fastest, Clock::monotonic().now() - asking);
    }
    EXPECT_LT(fastest, milliseconds(700));
    // What it opens when nobody wants it any more is not kept.
    controller->select({"first", "first"});
    EXPECT_TRUE(isHeard(first.step(64)));
    second.setHanging(false);
    ASSERT_TRUE(waitFor([&] { return second.timesOpened() == 1 && !second.isOpen(); }));
    EXPECT_EQ(controller->status().current.device, "first");

    second.setHanging(true);
    std::jthread([this] { controller->select({"second", "second"}); }).join();
    const TimePoint ending = Clock::monotonic().now();
    controller.reset();
    EXPECT_LT(Clock::monotonic().now() - ending, milliseconds(2000));
    second.setHanging(false);  // its thread can end now
}

}  // namespace
}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/OneInstance.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <semaphore>
#include <string>

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using enum InstanceAnswer::Outcome;

TEST(OneInstance, IsAskedByItsFolderAndAnswersInFull) {
    const TemporaryFolder folder, other;
    EXPECT_EQ(askFirstInstance(folder.path, "status").outcome, noPlayer);
    OneInstance first(folder.path);
    EXPECT_TRUE(first.isFirst());
    EXPECT_FALSE(OneInstance(folder.path / "." / "").isFirst());
    first.answerWith([](const std::string& request) { return request + std::string(20'000, '!'); });
    const InstanceAnswer answer = askFirstInstance(folder.path, "two words");
    EXPECT_EQ(answer.outcome, answered);
    EXPECT_EQ(answer.text, "two words" + std::string(20'000, '!'));
    EXPECT_EQ(askFirstInstance(other.path, "status").outcome, noPlayer);
}

TEST(OneInstance, AskingEndsWhetherOrNotThereIsAnAnswer) {
    const TemporaryFolder folder;
    std::binary_semaphore mayGoOn{0};
    std::atomic<int> asked{0};
    OneInstance first(folder.path);
    EXPECT_EQ(askFirstInstance(folder.path, "status", 20ms).outcome, silent) << "it is still starting";
    first.answerWith([&](const std::string&) {
        if (++asked == 2) mayGoOn.acquire();
        return std::string();
    });
    EXPECT_TRUE(waitFor([&] { return asked == 1; })) << "who asked before it could answer is not forgotten";
    EXPECT_EQ(askFirstInstance(folder.path, "status", 20ms).outcome, silent) << "it hangs";
    // More than are listened to at once.
    for (int n = 0; n < 20; ++n) EXPECT_EQ(askFirstInstance(folder.path, "status", 5ms).outcome, silent);
    mayGoOn.release();
    EXPECT_EQ(askFirstInstance(folder.path, "status").outcome, silent) << "an empty answer is none";
}

}  // namespace
}  // namespace zelvane

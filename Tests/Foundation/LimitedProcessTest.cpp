// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/LimitedProcess.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

namespace zelvane {
namespace {

using testing::ElementsAre;
using Kind = ProcessEnd::Kind;

/// Runs a script of the shell, which reports on the descriptor 3.
struct Script {
    explicit Script(const std::string& text, const ProcessLimits& limits = {}, const std::stop_token& stop = {})
        : end(runLimited(
              {"/bin/sh", "-c", text}, limits, [this](std::string_view line) { lines.emplace_back(line); }, stop)),
          words(inWords(end, limits)) {}

    std::vector<std::string> lines;
    ProcessEnd end;
    std::string words;
};

/// Not one that has ended and waits for its parent to hear of it.
bool isRunning(pid_t process) {
    const std::string state = TemporaryFolder::read("/proc/" + std::to_string(process) + "/stat");
    return !state.empty() && state.at(state.rfind(')') + 2) != 'Z';
}

TEST(LimitedProcess, OnlyTheReportIsRead) {
    ::setenv("DISPLAY", ":99", 1);
    ProcessLimits limits;
    limits.environment["ADDED"] = "yes";
    const Script script(
        "echo noise; echo noise >&2; read line; echo \"$ADDED$DISPLAY\" >&3; echo '' >&3; "
        "printf 'no end' >&3; exit 3",
        limits);
    ::unsetenv("DISPLAY");
    EXPECT_THAT(script.lines, ElementsAre("yes", ""));
    EXPECT_EQ(script.end.kind, Kind::exited);
    EXPECT_EQ(script.end.number, 3);
}

TEST(LimitedProcess, TellsHowItEnded) {
    EXPECT_EQ(Script("kill -SEGV $$").words, "crashed (segmentation fault)");
    EXPECT_EQ(Script("kill -ABRT $$").words, "aborted");
    EXPECT_EQ(Script("kill -HUP $$").words, "was ended by signal 1");
    EXPECT_EQ(Script("exit 0").words, "ended the program");
    EXPECT_EQ(runLimited({"/no/such/program"}, {}).kind, Kind::notStarted);
    EXPECT_EQ(runLimited({"/etc/passwd"}, {}).kind, Kind::notStarted);
}

TEST(LimitedProcess, NothingOutlivesItsTime) {
    ProcessLimits limits;
    limits.time = std::chrono::milliseconds(500);
    // A grandchild that keeps the report open, and both deaf to polite signals.
    const Script script("trap '' TERM INT HUP; sleep 1000 & echo $! >&3; echo $$ >&3; wait", limits);
    EXPECT_EQ(script.words, "did not finish within 0.5 seconds");
    ASSERT_EQ(script.lines.size(), 2U);
    const pid_t grandchild = std::stoi(script.lines[0]);
    EXPECT_TRUE(waitFor([&] { return !isRunning(grandchild); }));
    EXPECT_FALSE(isRunning(std::stoi(script.lines[1])));
}

TEST(LimitedProcess, EndsWhenItIsStopped) {
    std::stop_source source;
    const std::string forEver = "echo begun >&3; while :; do sleep 1; done";
    const ProcessEnd end = runLimited(
        {"/bin/sh", "-c", forEver}, {}, [&](std::string_view) { source.request_stop(); }, source.get_token());
    EXPECT_EQ(end.kind, Kind::stopped);
}

TEST(LimitedProcess, HasNoMoreMemoryThanItMayUse) {
    // The text doubles until there is no room for it.
    const std::string grow = "text=0123456789abcdef; while :; do text=$text$text; done";
    ProcessLimits limits;
    limits.memory = std::uint64_t{128} << 20;
    const Script refused(grow, limits);
    EXPECT_NE(refused.end.kind, Kind::usedTooMuchMemory) << "the allocation itself fails";
    EXPECT_NE(refused.end.kind, Kind::tookTooLong);
    limits.limitsAddressSpace = false;
    EXPECT_EQ(Script(grow, limits).words, "used too much memory");
}

TEST(LimitedProcess, GoesWithTheOneWhoStartedIt) {
    const TemporaryFolder folder;
    const std::string file = folder.path / "pid";
    const pid_t starter = ::fork();
    if (starter == 0) {
        runLimited({"/bin/sh", "-c", "echo $$ > " + file + ".part; mv " + file + ".part " + file + "; sleep 1000"}, {});
        ::_exit(0);
    }
    ASSERT_TRUE(waitFor([&] { return std::filesystem::exists(file); }));
    const pid_t started = std::stoi(TemporaryFolder::read(file));
    ASSERT_TRUE(isRunning(started));
    ::kill(starter, SIGKILL);
    ::waitpid(starter, nullptr, 0);
    EXPECT_TRUE(waitFor([&] { return !isRunning(started); }));
}

}  // namespace
}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/FileDescriptor.h"
#include "Tests/Audio/Lv2Bundles.h"
#include "Tests/EndToEnd/RunningPlayer.h"
#include "Tests/Fakes/ScopedEnvironment.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>

namespace zelvane {
namespace {

using testing::AllOf;
using testing::HasSubstr;

OSCMessage fifos(double milliseconds, float pitch) {
    return {"/vesk.µq/fifos", {{milliseconds}, {pitch}, {100}, {20}, {1}}};
}

/// Where a service manager hears of the programs that it has started.
class ServiceManagersEar {
  public:
    ServiceManagersEar() {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        name().copy(address.sun_path, sizeof address.sun_path - 1);
        ::bind(_socket.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
        const timeval limit{60, 0};
        ::setsockopt(_socket.number(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    }

    std::string name() const { return _folder.path / "notify"; }
    /// Nothing when none comes for a minute.
    std::string next() const {
        std::array<char, 64> text{};
        const auto length = ::recv(_socket.number(), text.data(), text.size(), 0);
        return {text.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
    }

  private:
    TemporaryFolder _folder;
    FileDescriptor _socket{::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
};

std::ptrdiff_t countLines(const std::string& text, const std::string& part) {
    std::ptrdiff_t count = 0;
    for (std::size_t place = text.find(part); place != std::string::npos; place = text.find(part, place + 1)) ++count;
    return count;
}

TEST(Program, PlaysOnTheNullDeviceAndEndsWithinASecond) {
    RunningPlayer player({"--device", "null"});
    ASSERT_TRUE(player.isListening()) << player.output();
    EXPECT_THAT(player.output(), HasSubstr("Zelvane: playing on null\n"));
    player.send({"/om/note", {{6050}, {100}, {5000}, {1}}});
    player.send({"/om/nothing", {{std::string("hallo")}, {1.5F}}});
    EXPECT_TRUE(waitFor(
        [&] { return player.output().find("/om/nothing with arguments (\"hallo\", 1.5)") != std::string::npos; }));
    EXPECT_EQ(player.terminate(), 0);
    const auto endsInTime = [](int signal) {
        RunningPlayer other({"--device=null"});
        EXPECT_TRUE(other.isListening());
        const auto begin = std::chrono::steady_clock::now();
        other.signal(signal);
        EXPECT_EQ(other.wait(), 0);
        return std::chrono::steady_clock::now() - begin < std::chrono::seconds(ZELVANE_SLOW);
    };
    // Of several: the machine may be busy.
    for (const int signal : {SIGTERM, SIGINT})
        EXPECT_TRUE(endsInTime(signal) || endsInTime(signal) || endsInTime(signal)) << signal;
}

TEST(Program, WhatItCannotHaveIsTold) {
    RunningPlayer first({"--device", "null"});
    ASSERT_TRUE(first.isListening());
    RunningPlayer second({"--device", "null", "--set", "port=" + std::to_string(first.port)});
    EXPECT_EQ(second.wait(), 1);
    EXPECT_THAT(second.output(),
                HasSubstr("Sorry, OSC is unable to listen on 127.0.0.1 port " + std::to_string(first.port)));
    const TemporaryFolder folder;
    RunningPlayer nowhere({"--device", "null", "--record", folder.path / "no" / "take.m4a"});
    ASSERT_TRUE(nowhere.isListening());
    EXPECT_EQ(nowhere.terminate(), 0);
    EXPECT_THAT(nowhere.output(), HasSubstr("Sorry, unable to record to "));
    RunningPlayer silent({"--device", "no such thing"});
    EXPECT_EQ(silent.wait(), 2);
    EXPECT_THAT(silent.output(), HasSubstr("there is no output device \"no such thing\""));
}

TEST(Program, TheCommandLineIsReadAndItsFaultsAreTold) {
    TemporaryFolder folder;
    const std::string output = folder.path / "output";
    const auto run = [&](const std::vector<std::string>& words) {
        return ChildProcess(withErrors(ZELVANE_PROGRAM, words), {{"HOME", folder.path}}, output).wait();
    };
    EXPECT_EQ(run({"--help"}), 0);
    EXPECT_EQ(run({"--version"}), 0);
    EXPECT_EQ(run({"--list-devices"}), 0);
    const std::vector<std::vector<std::string>> faults{
        {"--frob"},  {"--set"}, {"--set", "=3"}, {"--set", "port"}, {"--device"},          {"--midi"},
        {"--check"}, {"--all"}, {"--record"},    {"--send"},        {"--send", "om/note"}, {"stray"}};
    for (const auto& words : faults) EXPECT_EQ(run(words), 2) << words.front();
    EXPECT_EQ(run({"--check", "missing.scl"}), 1);
    const std::string deserted = std::to_string(LoopbackSocket().port());
    EXPECT_EQ(run({"--set", "port=" + deserted, "--send", "/om/note", "1"}), 1);
    LoopbackSocket ear;
    EXPECT_EQ(run({"--set", "port=" + std::to_string(ear.port()), "--send", "/om/note", "6050", "2.5", "x"}), 0);
    EXPECT_EQ(ear.next(30).address, "/om/note");
}

TEST(Program, InstrumentsAreListedWithWhatTheyCannotDo) {
    const TemporaryFolder folder;
    const Lv2Bundles bundles;
    for (const char* name : {"good", "deaf", "abort-making"}) bundles.add(name);
    const std::string output = folder.path / "output";
    const auto listed = [&](const std::string& options) {
        EXPECT_EQ(ChildProcess({"sh", "-c", "exec \"$0\" --list-instruments " + options, ZELVANE_PROGRAM},
                               {{"HOME", folder.path}, {"XDG_DATA_DIRS", folder.path}}, output)
                      .wait(),
                  0);
        return TemporaryFolder::read(output);
    };
    const std::string offered = "deaf\tno microtones: it does not follow pitch bend\ngood\n";
    EXPECT_EQ(listed("2>&1"), "zelvane: trying abort-making\nzelvane: trying deaf\nzelvane: trying good\n" + offered);
    EXPECT_EQ(listed("2>&1"), offered) << "what was tried is remembered";
    EXPECT_EQ(listed("--all"), "abort-making\tnot offered: It aborted while it was made.\n" + offered);
}

TEST(Program, AClientIsAskedForMoreAsTheQueuePassesThroughFive) {
    RunningPlayer player({"--device", "null"});
    ASSERT_TRUE(player.isListening());
    for (int n = 0; n < 8; ++n) player.send(fifos(40, 60));
    player.send({"/vesk.µq/start", {}});
    EXPECT_EQ(player.client.next(30).address, "/vesk.mq/more");
    EXPECT_EQ(player.client.next(0.5).address, "");
    player.send({"/vesk.µq/continue", {}});
    EXPECT_EQ(player.client.next(30).address, "/vesk.mq/more");
    EXPECT_EQ(player.terminate(), 0);
}

TEST(Program, ABurstOfTwentyThousandMessagesLosesNone) {
    RunningPlayer player({"--device", "null"});
    ASSERT_TRUE(player.isListening());
    for (int n = 0; n < 20000; ++n) player.send({"/x", {{n}}});
    EXPECT_TRUE(waitFor([&] { return player.output().find("/x with arguments (19999)\n") != std::string::npos; }));
    EXPECT_EQ(countLines(player.output(), "received unknown OSC message /x"), 20000);
    EXPECT_EQ(player.terminate(), 0);
}

TEST(Program, TheServiceManagerHearsThatItIsReadyAndThatItStops) {
    const ServiceManagersEar manager;
    const ScopedEnvironment environment({{"NOTIFY_SOCKET", manager.name()}});
    RunningPlayer player({"--device", "null"});
    EXPECT_EQ(manager.next(), "READY=1");
    EXPECT_TRUE(player.isListening());
    EXPECT_EQ(player.terminate(), 0);
    EXPECT_EQ(manager.next(), "STOPPING=1");
}

TEST(Program, WithoutAFontTheAlertNamesThePackage) {
    TemporaryFolder folder;
    const std::string output = folder.path / "output";
    ChildProcess player(withErrors(ZELVANE_PROGRAM, {"--headless", "--device", "null"}),
                        {{"HOME", folder.path},
                         {"LV2_PATH", folder.path},
                         {"XDG_CACHE_HOME", folder.path},
                         {"XDG_DATA_HOME", folder.path},
                         {"XDG_DATA_DIRS", folder.path}},
                        output);
    EXPECT_EQ(player.wait(), 1);
    EXPECT_THAT(TemporaryFolder::read(output), AllOf(HasSubstr("Sorry, no suitable music devices found. Exiting.\n"),
                                                     HasSubstr("timgm6mb-soundfont")));
}

}  // namespace
}  // namespace zelvane

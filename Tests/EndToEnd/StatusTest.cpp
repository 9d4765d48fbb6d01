// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/OneInstance.h"
#include "Tests/EndToEnd/RunningPlayer.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <csignal>

namespace zelvane {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using Json = nlohmann::json;

TEST(Status, IsAskedOfTheRunningPlayerWhileThereIsOne) {
    RunningPlayer player({"--device", "null"});
    ASSERT_TRUE(player.isListening()) << player.output();
    const auto [status, text] = player.startAgain({"--status"});
    EXPECT_EQ(status, 0);
    EXPECT_THAT(text, AllOf(StartsWith("version"), HasSubstr("\nstate               listening\n"),
                            HasSubstr("\nOSC                 127.0.0.1:" + std::to_string(player.port) + "\n"),
                            HasSubstr("\noutput              null, 48000 Hz"), HasSubstr("\nnotes               0\n")));
    player.send({"/om/nothing", {}});
    EXPECT_TRUE(waitFor([&] { return player.output().find("/om/nothing") != std::string::npos; }));
    const auto [jsonStatus, json] = player.startAgain({"--status", "--json"});
    EXPECT_EQ(jsonStatus, 0);
    EXPECT_EQ(Json::parse(json)["osc"]["replyPort"], player.client.port());
    EXPECT_EQ(Json::parse(json)["counts"]["refusedMessages"], 1);
    player.signal(SIGSTOP);
    EXPECT_EQ(player.startAgain({"--status"}),
              std::pair(1, std::string("zelvane: the player runs, but has not answered within 5 seconds.\n")));
    player.signal(SIGCONT);
    EXPECT_EQ(player.terminate(), 0);
    EXPECT_EQ(player.startAgain({"--status", "--json"}),
              std::pair(1, std::string("zelvane: no player runs with these settings.\n")));
    EXPECT_EQ(player.startAgain({"--json"}).first, 2);
}

TEST(Status, AskingAThousandTimesTakesNothingFromAStream) {
    constexpr int kNotes = 200;
    RunningPlayer player({"--device", "null"});
    ASSERT_TRUE(player.isListening());
    for (int n = 0; n < kNotes; ++n)
        player.send({"/vesk.µq/fifos", {{10.0}, {60 + 0.1F * static_cast<float>(n % 10)}, {100}, {20}, {1}}});
    player.send({"/vesk.µq/start", {}});
    Json counts;
    int asked = 0, answered = 0;
    const auto ask = [&] {
        const InstanceAnswer answer = askFirstInstance(player.settingsFolder(), "status json");
        ++asked;
        if (answer.outcome != InstanceAnswer::Outcome::answered) return false;
        ++answered;
        counts = Json::parse(answer.text)["counts"];
        return counts["notes"] == kNotes && counts["queuedNotes"] == 0;
    };
    EXPECT_TRUE(waitFor(ask, 60)) << counts;
    while (asked < 1000) ask();
    EXPECT_EQ(answered, asked);
    EXPECT_EQ(counts["oscMessages"], kNotes + 1);
    for (const char* loss : {"refusedMessages", "ignoredPackets", "unreadablePackets", "lostPackets", "lostEvents"})
        EXPECT_EQ(counts[loss], 0) << loss;
    EXPECT_EQ(player.terminate(), 0);
}

}  // namespace
}  // namespace zelvane

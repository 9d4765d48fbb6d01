// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Session/NsmClient.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/DrivenClock.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/SessionManager.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace zelvane {
namespace {

using testing::HasSubstr;
using State = NsmClient::State;

OSCMessage reply(const std::string& path) {
    return {"/reply", {{path}, {std::string("OK")}}};
}

class NsmClientTest : public testing::Test {
  protected:
    NsmClientTest() { _runLoop.attachToCurrentThread(); }

    void announce() {
        // Packets come at the machine's time.
        _clock.advance(Clock::monotonic().now() - _clock.now());
        _announcedAt = _clock.now();
        client->announce("Zelvane", "zelvane-in-a-test");
        announcement = manager.next();
    }
    /// Lets the loop take something that was sent to the client, when it arrives, and no limit before.
    bool takesPacket() {
        const auto isThere = [this] {
            const auto date = _runLoop.nextDate();
            return date && *date < _announcedAt + NsmClient::kAnswerLimit;
        };
        if (!waitFor(isThere)) return false;
        while (isThere()) _runLoop.runOnce();
        return true;
    }
    bool isOpened() {
        announce();
        manager.welcome();
        manager.open(folder.path / "song" / "Zelvane.nABC", "Zelvane.nABC");
        return isSettled() && client->state() == State::open;
    }
    bool isSettled() {
        while (client->state() == State::waiting && takesPacket()) continue;
        return client->state() != State::waiting;
    }
    /// The code of an error about that message.
    int errorAbout(const std::string& path) {
        const OSCMessage message = manager.next();
        if (message.address != "/error" || message.arguments.at(0).stringValue() != path) return 0;
        EXPECT_NE(message.arguments.at(2).stringValue(), "");
        return message.arguments.at(1).intValue().value_or(0);
    }

    DrivenClock _clock;
    TimePoint _announcedAt;
    RunLoop _runLoop{_clock};
    TemporaryFolder folder;
    SessionManager manager;
    std::unique_ptr<NsmClient> client = std::make_unique<NsmClient>(_runLoop, manager.url());
    OSCMessage announcement;
};

TEST_F(NsmClientTest, announcesItselfAndOpensTheSession) {
    ASSERT_TRUE(isOpened());
    const std::vector<OSCArgument> told{
        {std::string("Zelvane")}, {std::string()}, {std::string("zelvane-in-a-test")}, {1}, {2}, {::getpid()}};
    EXPECT_EQ(announcement, (OSCMessage{"/nsm/server/announce", told}));
    ASSERT_TRUE(client->session());
    EXPECT_EQ(client->session()->folder, folder.path / "song" / "Zelvane.nABC");
    EXPECT_TRUE(std::filesystem::is_directory(client->session()->folder));
    EXPECT_EQ(client->session()->displayName, "A song");
    EXPECT_EQ(client->session()->clientID, "Zelvane.nABC");

    manager.send({"/nsm/client/save", {}});
    ASSERT_TRUE(takesPacket());
    EXPECT_EQ(errorAbout("/nsm/client/save"), -8) << "it can't save what it has not loaded";
    int saves = 0;
    client->answerOpen([&saves](Error& error) {
        error.description = "the disk is full";
        return ++saves == 1;
    });
    EXPECT_EQ(manager.next(), reply("/nsm/client/open"));
    manager.send({"/nsm/client/session_is_loaded", {}});
    manager.send({"/nsm/client/save", {}});
    ASSERT_TRUE(takesPacket());
    EXPECT_EQ(manager.next(), reply("/nsm/client/save"));
    manager.send({"/nsm/client/save", {}});
    ASSERT_TRUE(takesPacket());
    EXPECT_EQ(errorAbout("/nsm/client/save"), -1);
    manager.open(folder.path / "other", "Zelvane.nXYZ");
    ASSERT_TRUE(takesPacket());
    EXPECT_EQ(errorAbout("/nsm/client/open"), -8);
    EXPECT_EQ(client->session()->clientID, "Zelvane.nABC");
    EXPECT_FALSE(std::filesystem::exists(folder.path / "other"));
    EXPECT_EQ(saves, 2);
}

TEST_F(NsmClientTest, tellsOfAFolderThatCannotBe) {
    const std::string file = folder.write("file", "");
    announce();
    manager.welcome();
    manager.open(file + "/Zelvane.nABC", "Zelvane.nABC");
    ASSERT_TRUE(isSettled());
    EXPECT_EQ(errorAbout("/nsm/client/open"), -10);
    EXPECT_EQ(client->state(), State::refused);
    EXPECT_THAT(client->reason(), HasSubstr(file));
}

TEST_F(NsmClientTest, givesUpAManagerThatIsSilent) {
    announce();
    EXPECT_TRUE(_runLoop.runOnce());
    EXPECT_EQ(client->state(), State::unreachable);
    EXPECT_EQ(_clock.now(), _announcedAt + NsmClient::kAnswerLimit);
    EXPECT_THAT(client->reason(), HasSubstr(manager.url()));
}

TEST_F(NsmClientTest, givesUpAManagerThatOpensNothing) {
    announce();
    manager.welcome();
    ASSERT_TRUE(takesPacket());
    EXPECT_TRUE(_runLoop.runOnce());
    EXPECT_EQ(client->state(), State::refused);
    EXPECT_GE(_clock.now(), _announcedAt + NsmClient::kOpenLimit);
}

TEST_F(NsmClientTest, listensToNobodyElse) {
    const LogLines log;
    announce();
    SessionManager stranger;
    stranger.meet(manager);
    stranger.send({"/error", {{std::string("/nsm/server/announce")}, {-1}, {std::string("go away")}}});
    stranger.open(folder.path / "elsewhere", "Zelvane.nXYZ");
    manager.welcome();
    manager.open(folder.path / "here", "Zelvane.nABC");
    ASSERT_TRUE(isSettled());
    EXPECT_EQ(client->session()->folder, folder.path / "here");
    EXPECT_EQ(log.of("NsmClient").size(), 2U);
}

TEST(NsmAddressTest, isReadFromWhatManagersWrite) {
    const auto address = NsmAddress::parse("osc.udp://127.0.0.1:16187/");
    ASSERT_TRUE(address);
    EXPECT_EQ(address->host, "127.0.0.1");
    EXPECT_EQ(address->port, 16187);
    EXPECT_EQ(address->localHost, "127.0.0.1");
    EXPECT_EQ(NsmAddress::parse("osc.udp://localhost:1")->host, "127.0.0.1");
    for (const char* wrong :
         {"", "osc.udp://", "osc.udp://:7/", "osc.udp://localhost", "osc.udp://localhost:/", "osc.udp://localhost:0/",
          "osc.udp://localhost:70000/", "osc.udp://localhost:12x/", "osc.tcp://localhost:7/", "http://localhost:7/"})
        EXPECT_FALSE(NsmAddress::parse(wrong)) << wrong;
}

}  // namespace
}  // namespace zelvane

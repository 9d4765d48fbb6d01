// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/UserDefaults.h"
#include "Tests/EndToEnd/RunningPlayer.h"
#include "Tests/Fakes/JackServer.h"
#include "Tests/Fakes/SessionManager.h"
#include "Tests/Fakes/TinySoundFont.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <filesystem>

namespace zelvane {
namespace {

using testing::HasSubstr;
using testing::Not;

class Session : public testing::Test {
  protected:
    Session() {
        std::filesystem::create_directories(home.path / "data" / "soundfonts");
        writeTinySoundFont(home.path / "data" / "soundfonts" / "default-GM.sf2");
        writeSettings(home.path / "config" / "Zelvane", LoopbackSocket().port());
        usersSettings = TemporaryFolder::read(home.path / "config" / "Zelvane" / "Zelvane.plist");
    }

    /// Settings whose port is that one.
    static void writeSettings(const std::filesystem::path& folder, std::uint16_t port) {
        std::filesystem::create_directories(folder);
        UserDefaults(folder / "Zelvane.plist").set("port", {std::int64_t(port)});
    }

    /// Starts the program as a manager would.
    std::unique_ptr<ChildProcess> start(const std::string& url, const std::string& output,
                                        const std::vector<std::string>& options = {"--headless", "--device",
                                                                                   "null"}) const {
        return std::make_unique<ChildProcess>(withErrors(ZELVANE_PROGRAM, options),
                                              ChildProcess::Environment{{"HOME", home.path},
                                                                        {"NSM_URL", url},
                                                                        {"LV2_PATH", home.path},
                                                                        {"XDG_CACHE_HOME", home.path / "cache"},
                                                                        {"XDG_CONFIG_HOME", home.path / "config"},
                                                                        {"XDG_DATA_HOME", home.path / "data"}},
                                              home.path / output);
    }
    std::string outputOf(const std::string& name) const { return TemporaryFolder::read(home.path / name); }
    bool listens(const std::string& output, std::uint16_t port) const {
        const std::string line = "Zelvane: listening on 127.0.0.1:" + std::to_string(port) + "\n";
        return waitFor([&] { return outputOf(output).find(line) != std::string::npos; }, 60);
    }
    /// Until the program that was started has announced itself, and its session is open or can't be.
    OSCMessage open(SessionManager& by, const std::string& id) const {
        EXPECT_EQ(by.next().address, "/nsm/server/announce");
        by.welcome();
        by.open(home.path / "song" / id, id);
        return by.next();
    }
    static OSCMessage reply(const std::string& path) { return {"/reply", {{path}, {std::string("OK")}}}; }

    TemporaryFolder home;
    std::string usersSettings;
    SessionManager manager;
};

TEST_F(Session, KeepsTheSettingsOfThePlayerInIt) {
    const std::uint16_t port = LoopbackSocket().port();
    const auto folder = home.path / "song" / "Zelvane.nABC";
    writeSettings(folder, port);
    const std::string scale = home.write("fifth.scl", "fifth.scl\n!\nfifth\n 1\n!\n3/2\n");
    const LoopbackSocket client;
    for (const std::string output : {"first", "again"}) {
        auto player = start(manager.url(), output);
        ASSERT_EQ(open(manager, "Zelvane.nABC"), reply("/nsm/client/open")) << outputOf(output);
        ASSERT_TRUE(listens(output, port)) << outputOf(output);
        // The player takes the message on another thread than the manager's.
        ASSERT_TRUE(waitFor([&] {
            client.send({"/om/tuning", {{scale}}}, port);
            manager.send({"/nsm/client/save", {}});
            EXPECT_EQ(manager.next(), reply("/nsm/client/save"));
            return TemporaryFolder::read(folder / "Zelvane.plist").find(scale) != std::string::npos;
        }));
        player->signal(SIGTERM);
        EXPECT_EQ(player->wait(), 0) << outputOf(output);
    }
    EXPECT_EQ(TemporaryFolder::read(home.path / "config" / "Zelvane" / "Zelvane.plist"), usersSettings);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(home.path / "config" / "Zelvane"),
                            std::filesystem::directory_iterator()),
              1);
}

TEST_F(Session, HoldsSeveralPlayersButEachOnce) {
    std::vector<std::unique_ptr<ChildProcess>> players;
    std::array<SessionManager, 2> managers;
    for (const std::string id : {"Zelvane.nA", "Zelvane.nB"}) {
        writeSettings(home.path / "song" / id, LoopbackSocket().port());
        players.push_back(start(managers[players.size()].url(), id));
        EXPECT_EQ(open(managers[players.size() - 1], id), reply("/nsm/client/open")) << outputOf(id);
    }
    auto second = start(manager.url(), "second");
    const OSCMessage answer = open(manager, "Zelvane.nB");
    EXPECT_EQ(answer.address, "/error") << "two would undo what the other stores";
    EXPECT_EQ(second->wait(), 1);
    EXPECT_THAT(outputOf("second"), HasSubstr("one is enough for these settings"));
    for (auto& player : players) {
        player->signal(SIGTERM);
        EXPECT_EQ(player->wait(), 0);
    }
}

TEST_F(Session, NamesThePlayersClientsAndKeepsTheirWires) {
    JackServer server;
    ASSERT_TRUE(server.start());
    const std::string file = home.path / "ports";
    const auto ports = [&] { return server.tool({"jack_lsp", "-c"}, file) ? TemporaryFolder::read(file) : ""; };
    const auto shows = [&](const std::string& text) {
        return waitFor([&] { return ports().find(text) != std::string::npos; });
    };
    const std::string port = "port=" + std::to_string(LoopbackSocket().port());
    for (const std::string output : {"new", "again"}) {
        auto player = start(manager.url(), output,
                            {"--headless", "--set", port, "--set", "midiBackend=jack", "--device", "JACK: system"});
        ASSERT_EQ(open(manager, "Zelvane.nABC"), reply("/nsm/client/open")) << outputOf(output);
        EXPECT_TRUE(shows("\nZelvane.nABC/MIDI:Zelvane\n")) << ports();
        EXPECT_TRUE(shows("\nZelvane.nABC:out_left\n")) << ports();
        if (output == "new") {
            EXPECT_TRUE(shows("\nZelvane.nABC:out_left\n   system:playback_1\n")) << ports();
        } else {
            EXPECT_THAT(ports(), Not(HasSubstr("\n   "))) << "what the session has to restore";
        }
        manager.send({"/nsm/client/save", {}});
        EXPECT_EQ(manager.next(), reply("/nsm/client/save"));
        player->signal(SIGTERM);
        EXPECT_EQ(player->wait(), 0) << outputOf(output);
    }
}

TEST_F(Session, IsLeftWhereTheManagerRefuses) {
    auto player = start(manager.url(), "refused");
    EXPECT_EQ(manager.next().address, "/nsm/server/announce");
    manager.send({"/error", {{std::string("/nsm/server/announce")}, {-2}, {std::string("too new for me")}}});
    EXPECT_EQ(player->wait(), 1);
    EXPECT_THAT(outputOf("refused"), HasSubstr("too new for me"));
    auto stopped = start(manager.url(), "stopped");
    EXPECT_EQ(manager.next().address, "/nsm/server/announce");
    manager.welcome();
    stopped->signal(SIGTERM);
    EXPECT_EQ(stopped->wait(), 0) << "it may end while it waits for its session";
    EXPECT_THAT(outputOf("stopped"), Not(HasSubstr("listening")));
}

TEST_F(Session, IsDoneWithoutWhereThereIsNoManager) {
    const std::uint16_t port = LoopbackSocket().port();
    writeSettings(home.path / "config" / "Zelvane", port);
    auto player = start("osc.udp://localhost:" + std::to_string(LoopbackSocket().port()) + "/", "alone");
    EXPECT_TRUE(listens("alone", port)) << outputOf("alone");
    EXPECT_THAT(outputOf("alone"), HasSubstr("does not answer, so it runs without one"));
    player->signal(SIGTERM);
    EXPECT_EQ(player->wait(), 0);
}

}  // namespace
}  // namespace zelvane

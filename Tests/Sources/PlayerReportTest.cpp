// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/ApplicationRig.h"
#include "Tests/Fakes/MarkdownTable.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <set>

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using Json = nlohmann::json;

class Report : public testing::Test, protected ApplicationRig {
  protected:
    void launch() {
        defaults.setArgument("port", {std::int64_t{0}});
        application.applicationDidFinishLaunching(false);
        runFor(1ms);
    }
    Json json() { return Json::parse(reportJson(application.report())); }
    std::string state() { return json()["state"]; }
};

TEST_F(Report, FollowsThePlayerThroughItsStates) {
    EXPECT_EQ(state(), "starting");
    launch();
    EXPECT_EQ(state(), "waiting");
    EXPECT_EQ(json()["osc"]["port"], 0);
    application.startStopListening();
    EXPECT_EQ(state(), "listening");
    EXPECT_EQ(json()["osc"]["port"], application.zelvane()->listeningPort());
    EXPECT_EQ(json()["recording"]["file"], "");
    application.enableRecording(folder.path / "take.m4a");
    EXPECT_EQ(state(), "armed");
    application.zelvane()->checkStatus();
    EXPECT_EQ(state(), "recording");
    EXPECT_EQ(json()["recording"]["file"], (folder.path / "take.m4a").string());
    EXPECT_THAT(reportText(application.report()), HasSubstr("\nstate               recording\n"));
    const Json report = json();
    EXPECT_EQ(report["instrument"], (Json{{"name", "DLSMusicDevice"}, {"microtones", "yes"}}));
    EXPECT_EQ(report["midi"]["input"], "Zelvane");
    EXPECT_EQ(report["output"]["device"], "still");
    EXPECT_EQ(report["output"]["sampleRate"], 48000);
    EXPECT_EQ(report["latency"]["messageDelay"].get<float>(), 0.003F);
}

void addKeys(const Json& value, const std::string& path, std::set<std::string>& keys) {
    if (!value.is_object()) {
        keys.insert(path);
        return;
    }
    for (const auto& [key, inner] : value.items()) addKeys(inner, path.empty() ? key : path + "." + key, keys);
}

TEST_F(Report, HasTheKeysThatAreDocumented) {
    std::set<std::string> keys, documented;
    addKeys(json(), "", keys);
    for (const auto& row : markdownTable(ZELVANE_SOURCES "/README.md", "| Key | Meaning |")) {
        for (const auto& key : codeOf(row[0])) documented.insert(key);
    }
    EXPECT_EQ(documented, keys);
}

}  // namespace
}  // namespace zelvane

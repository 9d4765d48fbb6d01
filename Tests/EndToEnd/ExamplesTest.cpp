// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/OneInstance.h"
#include "Tests/EndToEnd/RunningPlayer.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace zelvane {
namespace {

using Json = nlohmann::json;

/// A player, and an example of the documentation that plays it.
class PlayedByExample {
  public:
    PlayedByExample(const std::string& interpreter, const std::string& example)
        : _player({"--device", "null", "--set", "outPort=" + std::to_string(_outPort)}) {
        if (!_player.isListening()) return;
        _example = std::make_unique<ChildProcess>(
            std::vector<std::string>{interpreter, ZELVANE_EXAMPLES "/" + example, std::to_string(_player.port),
                                     std::to_string(_outPort)},
            ChildProcess::Environment{});
    }

    int wait() { return _example != nullptr ? _example->wait() : -1; }
    Json counts() const {
        const InstanceAnswer answer = askFirstInstance(_player.settingsFolder(), "status json");
        return answer.text.empty() ? Json() : Json::parse(answer.text)["counts"];
    }

  private:
    const std::uint16_t _outPort = LoopbackSocket().port();  // the example's own
    RunningPlayer _player;
    std::unique_ptr<ChildProcess> _example;
};

TEST(Examples, PlayAScaleAndAStreamToTheEnd) {
    PlayedByExample python("python3", "microtones.py");
    PlayedByExample shell("sh", "microtones.sh");
    for (PlayedByExample* played : {&python, &shell}) {
        EXPECT_EQ(played->wait(), 0);
        const Json counts = played->counts();
        ASSERT_TRUE(counts.is_object());
        EXPECT_EQ(counts["notes"], 25 + 4 * 16);
        EXPECT_EQ(counts["oscMessages"], 25 + 1 + 4 * (16 + 1));
        EXPECT_EQ(counts["refusedMessages"], 0);
        EXPECT_EQ(counts["lostEvents"], 0);
    }
}

}  // namespace
}  // namespace zelvane

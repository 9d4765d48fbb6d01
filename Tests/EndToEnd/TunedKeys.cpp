// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/EndToEnd/TunedKeys.h"

#include "Tests/Fakes/PitchMeter.h"

#include <gtest/gtest.h>

namespace zelvane {

std::vector<std::string> TenSteps::options() const {
    std::string scale = "Ten steps\n10\n";
    for (int step = 1; step <= 10; ++step)
        scale += std::to_string(step * 12 / 10) + "." + std::to_string(step * 12 % 10) + "\n";
    const auto tuning = _folder.write("ten.scl", scale);
    const auto keymap = _folder.write("ten.kbm", "10\n0\n127\n69\n69\n440.0\n10\n0\n1\n2\n3\n4\n5\n6\n7\n8\n9\n");
    return {"--set", "tuning=" + tuning.string(), "--set", "keymap=" + keymap.string()};
}

void TenSteps::expectKeys(const RunningPlayer& player, const JackCapture& capture,
                          const std::function<void(int key, bool isDown)>& press) const {
    for (const int key : {69, 70, 66, 74}) {
        const HeardNote note = hearWholeNote(
            capture, 1.0, [&] { press(key, true); }, [&] { press(key, false); });
        ASSERT_TRUE(note.isHeard()) << key << player.output();
        const double expected = frequencyOfKey(69 + 1.2 * (key - 69));
        EXPECT_NEAR(centsAbove(expected, frequencyOf(capture, note, expected)), 0, 0.2) << key << player.output();
    }
}

}  // namespace zelvane

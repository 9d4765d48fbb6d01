// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Graph/AVAudioEngine.h"
#include "Platform/Audio/Graph/AudioPlatform.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontProvider.h"
#include "Tests/Fakes/RealtimeGuard.h"
#include "Tests/Fakes/SteppedDevice.h"
#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Fakes/TinySoundFont.h"

#include <gtest/gtest.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <filesystem>
#include <future>
#include <random>
#include <thread>

namespace zelvane {
namespace {

const AudioDeviceFormat kFirst{48000, 2, 32, 24};
const AudioDeviceFormat kSecond{44100, 1, 48, 16};

/// Ten units of a sound font on two devices that are stepped by hand.
struct TenUnits {
    TenUnits() {
        const auto fonts = folder.path / "soundfonts";
        std::filesystem::create_directories(fonts);
        writeTinySoundFont(fonts / "default-GM.sf2");
        std::vector<std::unique_ptr<AudioComponentProvider>> providers;
        providers.push_back(std::make_unique<SoundFontProvider>(std::vector{folder.path}));
        platform = std::make_unique<AudioPlatform>(SteppedDevice::backEnds({&first, &second}), std::move(providers));
        engine = std::make_unique<AVAudioEngine>(platform->graph, platform->controller, platform->hardware);
        for (int i = 0; i < 10; ++i) addUnit();
        Error error;
        EXPECT_TRUE(engine->startAndReturnError(error)) << error.description;
    }

    ~TenUnits() { engine.reset(); }

    void addUnit() {
        std::promise<std::shared_ptr<AVAudioUnit>> made;
        const auto description = platform->components.componentsMatchingDescription({}).at(0).audioComponentDescription;
        platform->components.instantiateWithComponentDescription(
            description, 0,
            [&](const std::shared_ptr<AVAudioUnit>& unit, const std::optional<Error>&) { made.set_value(unit); });
        units.push_back(made.get_future().get());
        engine->attachNode(units.back());
        engine->connect(units.back(), *engine->mainMixerNode(), engine->outputNode()->outputFormatForBus(0));
    }

    /// Some message that a player sends, notes that end among them.
    void sendSomething(std::mt19937& random) {
        AudioUnit* unit = units[random() % units.size()]->audioUnit();
        const std::uint32_t channel = random() % 16;
        const std::uint32_t value = random() % 128;
        const std::array<std::uint32_t, 6> kinds{0x90, 0x80, 0xA0, 0xB0, 0xC0, 0xE0};
        const std::uint32_t kind = kinds[random() % kinds.size()];
        MusicDeviceMIDIEvent(unit, kind + channel, value, random() % 128, 0);
        if (random() % 2 == 0) MusicDeviceMIDIEvent(unit, 0xB0 + channel, 120, 0, 0);
    }

    TemporaryFolder folder;
    // Their time begins now and runs ahead of the clock, so that every message is due when it comes.
    SteppedDevice first{"first", kFirst, Clock::monotonic().now()};
    SteppedDevice second{"second", kSecond, Clock::monotonic().now()};
    std::unique_ptr<AudioPlatform> platform;
    std::unique_ptr<AVAudioEngine> engine;
    std::vector<std::shared_ptr<AVAudioUnit>> units;
};

TEST(RealtimeSafety, AMillionBlocksWithNotesBendsAndDeviceSwitchesStayClean) {
    const int blocks = RealtimeGuard::isEnabled() ? 1'000'000 : 20'000;
    TenUnits rig;
    rig.engine->mainMixerNode()->installTapOnBus(0, 128, [](const AVAudioPCMBuffer&, const AVAudioTime&) {});
    std::atomic<int> rendered{0};
    std::atomic<int> next{0};  // block before which the player sends something again
    RealtimeGuard::reset();
    std::thread player([&] {
        std::mt19937 random(7);
        for (int round = 0; rendered < blocks; ++round) {
            while (rendered < std::min(next.load(), blocks)) std::this_thread::yield();
            next += 100;
            rig.sendSomething(random);
            if (round % 1000 != 0) continue;
            const std::string name = round % 2000 == 0 ? "second" : "first";
            rig.platform->controller.select({name, name});
        }
    });
    bool hasSounded = false;
    while (rendered < blocks) {
        while (rendered > next + 1000) std::this_thread::yield();  // the player may be held up
        for (SteppedDevice* device : {&rig.first, &rig.second}) {
            const auto buffers = device->step(32);
            if (buffers.empty()) continue;
            ++rendered;
            hasSounded = hasSounded || buffers[0][31] != 0;
        }
    }
    player.join();
    EXPECT_TRUE(hasSounded);
    EXPECT_GT(rig.first.timesOpened() + rig.second.timesOpened(), RealtimeGuard::isEnabled() ? 8 : 1);
    EXPECT_EQ(RealtimeGuard::violations().total(), 0U) << RealtimeGuard::firstOffender();
}

// From here on the kernel ends the process at the first system call of this thread but the last.
void forbidSystemCalls() {
    std::array<sock_filter, 4> program{{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit_group, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
    }};
    const sock_fprog filter{program.size(), program.data()};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) != 0) _exit(3);
}

void renderWithoutSystemCalls() {
    TenUnits rig;
    std::mt19937 random(11);
    std::array<float, 64> left{}, right{};
    const std::array<float*, 2> outputs{left.data(), right.data()};
    std::thread player([&] {
        for (int i = 0; i < 20000; ++i) rig.sendSomething(random);
        for (;;) pause();
    });
    const auto start = Clock::monotonic().now();
    forbidSystemCalls();
    for (int block = 0; block < 20000; ++block) {
        rig.platform->graph.render({.start = start + block * Duration(1333333),
                                    .startIsExact = false,
                                    .isDiscontinuous = false,
                                    .frames = 64,
                                    .periodFrames = 64,
                                    .outputs = outputs});
    }
    syscall(SYS_exit_group, 0);
}

// The sanitizers make system calls of their own.
TEST(RealtimeSafetyDeathTest, TheKernelSeesNoSystemCallFromRendering) {
    if (!RealtimeGuard::isEnabled()) return;
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(renderWithoutSystemCalls(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace zelvane

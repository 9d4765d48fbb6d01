// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/Zelvane.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/EngineRig.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/MemoryMIDI.h"
#include "Tests/Fakes/UnitAccess.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <thread>

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

const std::vector<std::string> kTwo{"DLSMusicDevice", "zither"};

std::vector<std::string> unitNames(AudioEngine& engine) {
    std::vector<std::string> names;
    for (std::int32_t number = 1; number <= 10; ++number) {
        const auto node = engine.microUnitSynthNode(number);
        names.push_back(node != nullptr ? node->name() : "");
    }
    return names;
}

struct FakeTextField final : ProgressTextField {
    void setStringValue(const std::string& text) override { texts.push_back(text); }
    std::vector<std::string> texts;
};

TEST(InstrumentChoice, TheLastChoiceWinsWhenOneIsMadeWhileAnotherIsLoading) {
    LogLines log;
    EngineRig rig;
    rig.rig.loop.perform([&] { rig.engine->setMusicDeviceFromName("Alphorn"); });
    rig.engine->setMusicDeviceFromName("zither");
    EXPECT_EQ(unitNames(*rig.engine), std::vector<std::string>(10, "Alphorn"));
    EXPECT_TRUE(rig.engine->allMicroUnitsAreSetUp());
}

TEST(InstrumentChoice, OneThatIsNotThereAnyMoreLeavesThePresentOnePlaying) {
    LogLines log;
    EngineRig rig;
    rig.provider->gone = {2};
    rig.engine->handleNoteOnMessage(6000, 50, 1);
    rig.engine->setMusicDeviceFromName("zither");
    EXPECT_THAT(rig.rig.application.errors,
                ElementsAre(Error{"MidiConfiguration", 3, "Sorry, unable to connect OSC/MIDI to zither"}));
    EXPECT_EQ(unitNames(*rig.engine), std::vector<std::string>(10, "DLSMusicDevice"));
    EXPECT_THAT(rig.played(), ElementsAre(std::array{10, 0x90, 60, 50}));
    rig.engine->setMusicDeviceFromName("kazoo");
    EXPECT_EQ(rig.rig.application.errors.back().description, "Sorry, unable to connect OSC/MIDI to kazoo");
    EXPECT_THAT(log.all(), Contains("AudioEngine: [setMusicDeviceFromName:] unable to connect OSC/MIDI to kazoo"));
    EXPECT_EQ(unitNames(*rig.engine), std::vector<std::string>(10, "DLSMusicDevice"));
    rig.engine->updateMusicDevices();
    EXPECT_THAT(rig.engine->musicDevices(), ElementsAre("Alphorn", "DLSMusicDevice"));
    rig.provider->gone = {3};
    rig.engine->updateMusicDevices();
    EXPECT_THAT(rig.engine->musicDevices(), ElementsAre("DLSMusicDevice", "zither"));
}

TEST(InstrumentChoice, TheEditorsAreToldOfTheLastUnitsASecondLater) {
    LogLines log;
    EngineRig rig;
    rig.engine->setMusicDeviceFromName("zither");
    rig.engine->setMusicDeviceFromName("Alphorn");
    EXPECT_EQ(rig.rig.application.firstUnit.lock(), nullptr);
    rig.rig.clock.advance(1s);
    rig.runDue();
    EXPECT_EQ(rig.rig.application.firstUnit.lock(), rig.engine->microUnitSynthNode(1));
    EXPECT_EQ(rig.rig.application.firstUnit.lock()->name(), "Alphorn");
}

// While notes sound, and now and then a recording runs.
TEST(InstrumentChoice, AHundredSwitchesEndEveryNoteAndRecordingAndMixNothing) {
    LogLines log;
    const TemporaryFolder folder;
    UserDefaults defaults(folder.path / "defaults.plist");
    PlayerRig rig(std::make_unique<RecordingProvider>(kTwo));
    MemoryMIDI midi(rig.loop);
    Zelvane player(rig.loop, rig.platform, rig.application, defaults);
    player.setIsListening(true);
    const auto now = [&] { return rig.clock.now() - DrivenClock::kStart; };
    for (int i = 0; i < 100; ++i) {
        const std::string name = i % 2 == 0 ? "zither" : "DLSMusicDevice";
        if (i % 10 == 0) player.enableRecording(folder.path / (std::to_string(i) + ".m4a"));
        rig.at(now() + 5ms, [&] { midi.backEnd->playTo("Zelvane", {{0x90, 60, 64}}, RunLoop::now()); });
        rig.renderUntil(now() + 30ms);
        ASSERT_EQ(player.isRecording(), i % 10 == 0);
        std::vector<std::weak_ptr<AVAudioUnit>> before;
        for (std::int32_t number = 1; number <= 10; ++number)
            before.push_back(player.audioEngine().microUnitSynthNode(number));
        player.setMusicDeviceFromName(name);
        ASSERT_EQ(unitNames(player.audioEngine()), std::vector<std::string>(10, name));
        ASSERT_FALSE(player.isRecording());
        for (const auto& unit : before) ASSERT_TRUE(unit.expired()) << "with what it played";
    }
    EXPECT_THAT(rig.application.fatalErrors, IsEmpty());
    EXPECT_GT(rig.application.statusChanges, 20);
}

/// What the program runs as: a main, a player and an audio thread.
struct ThreadedRig {
    ThreadedRig() {
        mainLoop.attachToCurrentThread();
        platform.components.setViewControllerProvider(std::make_shared<FakeViewControllers>());
        engine = std::make_unique<AudioEngine>(playerLoop, platform, application, defaults);
    }
    ~ThreadedRig() {
        isEnding = true;
        audio.join();
        playerLoop.end();
        player.join();
    }

    void render() {
        std::array<float, 256> left{}, right{};
        std::array<float*, 2> outputs{left.data(), right.data()};
        while (!isEnding) {
            platform.graph.render({.start = Clock::monotonic().now(),
                                   .startIsExact = false,
                                   .isDiscontinuous = false,
                                   .frames = 256,
                                   .periodFrames = 256,
                                   .outputs = outputs});
        }
    }

    PrivateDataFolder data;
    TemporaryFolder folder;
    UserDefaults defaults{folder.path / "defaults.plist"};
    RunLoop mainLoop, playerLoop;
    FakeApplication application{mainLoop};
    AudioPlatform platform{oneOf<AudioDeviceBackEnd>(std::make_unique<StillBackEnd>()),
                           oneOf<AudioComponentProvider>(std::make_unique<RecordingProvider>(kTwo))};
    std::atomic<bool> isEnding{false};
    std::thread player{[this] {
        playerLoop.attachToCurrentThread();
        playerLoop.run();
    }};
    std::thread audio{[this] { render(); }};
    std::unique_ptr<AudioEngine> engine;
};

TEST(InstrumentChoice, SwitchesWhileThePlayerThreadPlaysAndAnotherThreadEdits) {
    LogLines log;
    ThreadedRig rig;
    const auto timer = Timer::every(100us, [&](Timer&) {
        rig.engine->handleNoteOnMessage(6030, 80, 1);
        rig.engine->handleNoteOffMessage(6030, 1);
    });
    rig.playerLoop.add(timer);
    std::thread editor([&] {
        for (std::uint32_t value = 0; !rig.isEnding; ++value) {
            const auto node = rig.engine->microUnitSynthNode(1);
            if (node == nullptr) continue;
            setProperty(node->audioUnit(), kMusicDeviceProperty_UsesInternalReverb, value);
            editParameter(node->audioUnit(), 7, 0.5F);
        }
    });
    for (int i = 0; i < 20; ++i) {
        rig.engine->propagateFromMicroUnitNumber(1);
        rig.engine->windowShouldClose();
        const std::string name = i % 2 == 0 ? "zither" : "DLSMusicDevice";
        rig.engine->setMusicDeviceFromName(name);
        EXPECT_EQ(unitNames(*rig.engine), std::vector<std::string>(10, name));
    }
    timer->invalidate();
    rig.isEnding = true;
    editor.join();
    rig.playerLoop.perform([] {}, RunLoop::Wait::yes);
}

TEST(Scan, KeepsWhatLoadsAndReturnsAfterTheLast) {
    LogLines log;
    EngineRig rig;
    const auto field = std::make_shared<FakeTextField>();
    rig.engine->scanMusicDevicesWithProgressTextField(field, rig.rig.loop);
    rig.runDue();
    EXPECT_THAT(field->texts, ElementsAre("Testing device DLSMusicDevice.", "Testing device zither.",
                                          "Testing device Alphorn.", "Scan done."));
    EXPECT_THAT(rig.engine->musicDevices(), ElementsAre("Alphorn", "DLSMusicDevice", "zither"));
    rig.engine->scanMusicDevicesWithProgressTextField(nullptr, rig.rig.loop);
    EXPECT_THAT(rig.engine->whitelistedMusicDeviceNames(), SizeIs(6));
    const auto stored = rig.defaults.object("devicesMap");
    EXPECT_EQ(std::get<PropertyList::Array>(stored->value).size(), 6U);
    EXPECT_THAT(log.all(), Contains("AudioEngine: [scanMusicDevicesWithProgressTextField:onThread:] zither supports "
                                    "StartStopNote API, necessary to play midic microtones")
                               .Times(2));
    rig.provider->gone = {1, 2, 3};
    rig.engine->scanMusicDevicesWithProgressTextField(nullptr, rig.rig.loop);
    EXPECT_THAT(rig.engine->musicDevices(), IsEmpty());
}

TEST(Scan, OneThatDoesNotLoadEndsTheApplication) {
    LogLines log;
    EngineRig rig;
    rig.provider->failing = {2};
    rig.engine->scanMusicDevicesWithProgressTextField(nullptr, rig.rig.loop);
    rig.runDue();
    EXPECT_THAT(rig.rig.application.fatalErrors,
                ElementsAre(Error{"AudioConfiguration", 2, "Sorry, unable to load zither"}));
    EXPECT_THAT(log.all(),
                Contains("AudioEngine: [scanMusicDevicesWithProgressTextField:onThread:] unable to load zither"));
    EXPECT_THAT(rig.engine->whitelistedMusicDeviceNames(), Not(Contains("zither")));
}

TEST(InstrumentTrial, AMarkIsLeftByAProcessThatDiesAndByNoneThatLives) {
    const TemporaryFolder folder;
    const auto file = folder.path / "loading";
    const pid_t child = fork();
    if (child == 0) {
        LoadingMark mark(file);
        mark.put("Harmonium / 2");
        alarm(60);  // should the test give up
        pause();
    }
    ASSERT_TRUE(waitFor([&] { return TemporaryFolder::read(file) == "loading Harmonium / 2\n"; }));
    LoadingMark mark(file);
    EXPECT_EQ(mark.takeLeft(), std::nullopt) << "that player lives and loads";
    mark.put("Zither");
    EXPECT_EQ(TemporaryFolder::read(file), "loading Harmonium / 2\n");
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_EQ(mark.takeLeft(), "Harmonium / 2");
    EXPECT_EQ(mark.takeLeft(), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(InstrumentTrial, LastsUntilAllUnitsHaveRenderedForTwoSeconds) {
    LogLines log;
    EngineRig rig;
    const auto file = rig.rig.data.user() / "loading";
    rig.engine->setMusicDeviceFromName("zither");
    EXPECT_EQ(TemporaryFolder::read(file), "loading zither\n");
    rig.rig.clock.advance(5s);
    rig.runDue();
    EXPECT_TRUE(std::filesystem::exists(file)) << "nothing was rendered";
    const auto start = rig.rig.clock.now() - DrivenClock::kStart;
    rig.rig.renderUntil(start + 900ms);
    EXPECT_TRUE(std::filesystem::exists(file));
    rig.rig.renderUntil(start + 3s);
    EXPECT_FALSE(std::filesystem::exists(file));
    rig.engine->setMusicDeviceFromName("Alphorn");
    EXPECT_TRUE(std::filesystem::exists(file));
    rig.engine->setMusicDeviceFromName("DLSMusicDevice");
    EXPECT_FALSE(std::filesystem::exists(file));
    rig.engine->setMusicDeviceFromName("zither");
    rig.engine.reset();
    EXPECT_FALSE(std::filesystem::exists(file)) << "it ended in an orderly way";
}

TEST(InstrumentTrial, AnInstrumentThatBroughtTheLastRunDownIsLeftOutOnceAndTold) {
    LogLines log;
    const TemporaryFolder folder;
    UserDefaults defaults(folder.path / "defaults.plist");
    defaults.set("musicDevice", {std::string("zither")});
    PlayerRig rig(std::make_unique<RecordingProvider>(kTwo));
    std::ofstream(rig.data.user() / "loading") << "loading zither\n";
    MemoryMIDI midi(rig.loop);
    {
        Zelvane player(rig.loop, rig.platform, rig.application, defaults);
        EXPECT_EQ(unitNames(player.audioEngine()), std::vector<std::string>(10, "DLSMusicDevice"));
        rig.runDue();
        ASSERT_THAT(rig.application.errors, SizeIs(1));
        EXPECT_THAT(rig.application.errors[0].description,
                    HasSubstr("Sorry, the player did not survive loading zither"));
        EXPECT_EQ(defaults.string("musicDevice"), "zither") << "the user's choice stands";
        EXPECT_EQ(player.instrumentLeftOut(), "zither");
    }
    Zelvane again(rig.loop, rig.platform, rig.application, defaults);
    EXPECT_EQ(unitNames(again.audioEngine()), std::vector<std::string>(10, "zither"));
}

// Else an instrument that does not load would end every start.
TEST(InstrumentTrial, AnInstrumentThatDidNotLoadIsRememberedByTheNextStart) {
    LogLines log;
    EngineRig rig;
    const auto file = rig.rig.data.user() / "loading";
    rig.provider->failing = {2};
    rig.engine->setMusicDeviceFromName("zither");
    EXPECT_THAT(rig.rig.application.fatalErrors, Not(IsEmpty()));
    rig.engine.reset();
    EXPECT_EQ(LoadingMark(file).takeLeft(), "zither");
}

}  // namespace
}  // namespace zelvane

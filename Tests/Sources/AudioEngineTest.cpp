// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/EngineRig.h"
#include "Tests/Fakes/LogLines.h"

#include <gmock/gmock.h>

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::SizeIs;

using Event = std::array<int, 4>;

TEST(NoteRouting, APitchGoesToTheUnitOfItsTenth) {
    const std::vector<std::pair<std::uint32_t, Event>> table{
        {6000, {10, 0x90, 60, 1}}, {6004, {10, 0x90, 60, 1}}, {6005, {9, 0x90, 60, 1}}, {6010, {9, 0x90, 60, 1}},
        {6037, {6, 0x90, 60, 1}},  {6044, {6, 0x90, 60, 1}},  {6050, {5, 0x90, 60, 1}}, {6090, {1, 0x90, 60, 1}},
        {6094, {1, 0x90, 60, 1}},  {6095, {10, 0x90, 61, 1}}, {0, {10, 0x90, 0, 1}},    {12790, {1, 0x90, 127, 1}}};
    for (const auto& [midic, expected] : table) {
        EngineRig rig;
        rig.engine->handleNoteOnMessage(midic, 1, 1);
        EXPECT_THAT(rig.played(), ElementsAre(expected)) << midic;
    }
}

TEST(NoteRouting, NoteOffsFollowAndPitchesBeyondMidiAreHarmless) {
    EngineRig rig;
    LogLines log;
    rig.engine->handleNoteOnMessage(6020, 300, 16);
    rig.engine->handleNoteOffMessage(6021, 16);
    rig.engine->handleNoteOnMessage(12796, 100, 1);
    rig.engine->handleNoteOnMessage(4294967295U, 100, 1);
    rig.engine->handleNoteOnMessage(6000, 100, 0);
    rig.engine->handleNoteOnMessage(6000, 100, 5000);
    EXPECT_THAT(rig.played(), ElementsAre(Event{10, 0x8F, 60, 100}, Event{8, 0x9F, 60, 127}, Event{8, 0x8F, 60, 0}));
}

TEST(MicroUnits, EveryUnitIsDetunedOnAllChannelsByItsOwnBend) {
    EngineRig rig;
    rig.rig.renderUntil(100ms);
    const std::array<int, 10> bends{11873, 11464, 11055, 10646, 10237, 9828, 9419, 9010, 8601, 8192};
    for (std::int32_t number = 1; number <= 10; ++number) {
        const auto& played = rig.unit(number).played;
        ASSERT_THAT(played, SizeIs(16)) << number;
        for (std::size_t channel = 0; channel < 16; ++channel) {
            EXPECT_EQ(played[channel].status, 0xE0 + channel);
            EXPECT_EQ(played[channel].data1 + (played[channel].data2 << 7),
                      bends[static_cast<std::size_t>(number - 1)]);
        }
    }
}

TEST(MicroUnits, LookUpsKeepTheirEdges) {
    EngineRig rig;
    AudioEngine& engine = *rig.engine;
    for (std::int32_t number = 1; number <= 10; ++number) {
        EXPECT_EQ(engine.microUnitNumberFromSynthNode(engine.microUnitSynthNode(number).get()), number);
    }
    EXPECT_EQ(engine.microUnitSynthNode(0), nullptr);
    EXPECT_EQ(engine.microUnitSynthNode(12), nullptr);
    EXPECT_THROW(engine.microUnitSynthNode(11), RangeError);
    EXPECT_THROW(engine.microUnitFromNumber(0), RangeError);
    EXPECT_EQ(engine.microUnitNumberFromSynthNode(nullptr), 0);
    engine.removeMicroUnit(4);
    EXPECT_EQ(engine.microUnitNumberFromSynthNode(nullptr), 4);
    EXPECT_FALSE(engine.allMicroUnitsAreSetUp());
    engine.handleNoteOnMessage(6060, 1, 1);
    engine.checkAlllMicroUnitsAreSetUp();
    EXPECT_TRUE(engine.allMicroUnitsAreSetUp());
}

TEST(AudioEngine, DevicesAndInstrumentsAreListedWithoutRegardToCase) {
    EngineRig rig;
    EXPECT_THAT(rig.engine->audioDevices(), ElementsAre("anon", "Another", "still"));
    EXPECT_THAT(rig.engine->musicDevices(), ElementsAre("Alphorn", "DLSMusicDevice", "zither"));
    rig.engine->setAudioDeviceFromName("Another");
    EXPECT_EQ(rig.rig.platform.controller.status().current.device, "Another");
    rig.engine->setAudioDeviceFromName("gone");
    EXPECT_EQ(rig.rig.platform.controller.status().current.device, "still");
    EXPECT_TRUE(rig.engine->avEngine().isRunning());
}

TEST(AudioEngine, WithoutInstrumentsOrWithABrokenOneTheApplicationEndsWithTheAlert) {
    LogLines log;
    EngineRig none(std::vector<std::string>{});
    none.runDue();
    EXPECT_THAT(none.rig.application.fatalErrors,
                ElementsAre(Error{"AudioConfiguration", 1, "Sorry, no suitable music devices found. Exiting.",
                                  "Install something that sounds."}));
    EngineRig broken({"DLSMusicDevice"}, {1});
    ASSERT_FALSE(broken.rig.application.fatalErrors.empty());
    EXPECT_EQ(broken.rig.application.fatalErrors.front(),
              (Error{"AudioConfiguration", 3, "Sorry, unable to init MicroNode 10. Exiting"}));
    EXPECT_THAT(log.all(), Contains("AudioEngine: [logInstantiateMicroUnit:withError:] unable to init MicroNode 10, "
                                    "exiting. Error {it is broken}"));
}

// The two senses are the wrong way round for a reader, and callers go by them.
TEST(AudioEngine, OpeningASoundBankTellsFalseAndFallsSilentWhenAUnitTookIt) {
    EngineRig rig;
    EXPECT_FALSE(rig.engine->openSoundfont(""));
    EXPECT_TRUE(rig.engine->avEngine().isRunning());
    EXPECT_TRUE(rig.engine->openSoundfont("/nowhere.sf2"));
    EXPECT_TRUE(rig.engine->avEngine().isRunning());
    rig.engine->restoreAppleSounds();
    EXPECT_TRUE(rig.engine->allMicroUnitsAreSetUp());
}

TEST(AudioEngine, TheLatencyOfTheRecorderIsATapBufferInWholeMilliseconds) {
    for (const auto& [rate, latency] : {std::pair{44100.0, 0.003F}, {48000.0, 0.003F}, {96000.0, 0.002F}}) {
        const TemporaryFolder folder;
        UserDefaults defaults(folder.path / "defaults.plist");
        PlayerRig rig(std::make_unique<RecordingProvider>(), rate);
        AudioEngine engine(rig.loop, rig.platform, rig.application, defaults);
        EXPECT_EQ(engine.recorderLatency(), latency);
        const auto file = engine.outputFileStreamDescription();
        EXPECT_EQ(file.mSampleRate, rate);
        EXPECT_EQ(file.mFormatID, kAudioFormatAppleLossless);
        EXPECT_EQ(file.mFormatFlags, 3U);
        EXPECT_EQ(file.mChannelsPerFrame, 2U);
    }
    const std::vector<std::pair<std::uint32_t, std::uint32_t>> flags{{8, 1},  {16, 1}, {17, 4}, {20, 2},
                                                                     {24, 3}, {28, 4}, {32, 4}, {64, 4}};
    for (const auto& [bits, flag] : flags) EXPECT_EQ(StreamFormats::flagFromBitsize(bits), flag) << bits;
}

TEST(AudioEngine, SoundThatIsNoneIsMutedAndTheVolumeGlides) {
    EngineRig rig;
    rig.rig.renderUntil(50ms);
    rig.unit(5).emits = std::nanf("");
    rig.unit(6).emits = 0.5F;
    rig.rig.renderBlock();
    EXPECT_EQ(rig.rig.right[0], 0.5F);
    EXPECT_EQ(rig.rig.platform.graph.mutedBlocks(), 1U);
    rig.engine->setVolume(0.5F);
    EXPECT_EQ(rig.engine->volume(), 0.5F);
    rig.rig.renderBlock();
    EXPECT_GT(rig.rig.right[0], 0.49F);
    EXPECT_EQ(rig.rig.right[255], 0.25F);
    rig.engine->setVolume(-1);
    EXPECT_EQ(rig.engine->volume(), 0.5F);
}

}  // namespace
}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/Zelvane.h"
#include "Tests/Audio/RecordingSignal.h"
#include "Tests/Fakes/AudioFileReader.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/MemoryMIDI.h"
#include "Tests/Fakes/OnsetFinder.h"
#include "Tests/Fakes/PlayerRig.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

/// A player in simulated time whose instruments make a click of each note, and a recording of it in earnest.
class Recording : public testing::Test {
  protected:
    void SetUp() override { player.setIsListening(true); }

    void noteAt(Duration date) {
        rig.at(date, [this] { midi.backEnd->playTo("Zelvane", {{0x90, 60, 64}, {0x80, 60, 0}}, RunLoop::now()); });
    }

    /// Lets the file be finished and the player be told.
    void awaitRecordings(std::size_t count) {
        EXPECT_TRUE(waitFor([&] {
            rig.loop.runOnce(rig.clock.now());
            return rig.application.recordings.size() >= count;
        }));
    }

    std::vector<float> leftChannel() const {
        std::vector<float> left;
        const auto samples = decodeAudioFile(file).value_or(std::vector<std::int32_t>());
        for (std::size_t i = 0; i < samples.size(); i += 2) left.push_back(static_cast<float>(samples[i]) / 0x1p31F);
        return left;
    }

    TemporaryFolder folder;
    std::filesystem::path file = folder.path / "take.m4a";
    UserDefaults defaults{folder.path / "defaults.plist"};
    PlayerRig rig{std::make_unique<RecordingProvider>()};
    MemoryMIDI midi{rig.loop};
    LogLines log;
    Zelvane player{rig.loop, rig.platform, rig.application, defaults};
};

TEST_F(Recording, BeginsWithTheFirstNoteAndEndsWhenItIsStopped) {
    rig.renderUntil(100ms);
    EXPECT_THAT(log.all(), Contains("AudioEngine+Tap: [setUpTapForMixerNode] recording tap set up"));
    player.enableRecording(file);
    EXPECT_TRUE(player.isRecordingEnabled() && !player.isRecording());
    noteAt(500ms);
    noteAt(750ms);
    rig.renderUntil(1s);
    EXPECT_TRUE(player.isRecording() && !player.isRecordingEnabled());
    player.stopRecording();
    EXPECT_FALSE(player.isRecording());
    rig.renderUntil(1100ms);
    awaitRecordings(1);
    ASSERT_THAT(rig.application.recordings, SizeIs(1));
    EXPECT_EQ(rig.application.recordings[0].path, file);
    EXPECT_EQ(rig.application.statusChanges, 3);

    const auto left = leftChannel();
    const auto starts = onsets(left, 100, 0.1F);
    ASSERT_THAT(starts, SizeIs(2)) << "the first note is in it";
    EXPECT_EQ(starts[1] - starts[0], 12000U);
    EXPECT_LT(starts[0], 4800U);
    EXPECT_NEAR(double(left.size()), 0.5 * 48000, 2 * 256) << "nothing before the note";
    EXPECT_NEAR(rig.application.recordings[0].seconds, 0.5, 0.011);
}

TEST_F(Recording, StoppedWhileArmedLeavesTheFormerFileAlone) {
    player.enableRecording(file);
    noteAt(100ms);
    rig.renderUntil(300ms);
    player.stopRecording();
    rig.renderUntil(400ms);
    awaitRecordings(1);
    const auto size = std::filesystem::file_size(file);
    player.enableRecording(file);
    player.stopRecording();
    EXPECT_FALSE(player.isRecording() || player.isRecordingEnabled());
    rig.renderUntil(600ms);
    EXPECT_EQ(std::filesystem::file_size(file), size);
    // The next one replaces it, and one that is enabled meanwhile does not touch the open file.
    player.enableRecording(file);
    noteAt(700ms);
    rig.renderUntil(1700ms);
    player.audioEngine().enableRecording(folder.path / "other.m4a");
    player.stopRecording();
    rig.renderUntil(1800ms);
    awaitRecordings(2);
    ASSERT_THAT(rig.application.recordings, SizeIs(2));
    EXPECT_NEAR(rig.application.recordings[1].seconds, 1, 0.011);
    EXPECT_FALSE(std::filesystem::exists(folder.path / "other.m4a"));
}

TEST_F(Recording, AFileThatCannotBeMadeIsToldAndThePlayerPlaysOn) {
    const auto missing = folder.path / "100%@ %d missing" / "take.m4a";
    player.enableRecording(missing);
    EXPECT_TRUE(player.isRecordingEnabled()) << "it is armed all the same";
    noteAt(100ms);
    rig.renderUntil(300ms);
    player.stopRecording();
    rig.renderUntil(400ms);
    EXPECT_THAT(log.all(), Contains(AllOf(HasSubstr("AudioEngine+Recording: [setupAudioFile:] could not create audio "
                                                    "file " +
                                                    missing.string() + " (ID="),
                                          HasSubstr("'"))));
    ASSERT_THAT(rig.application.errors, SizeIs(1));
    EXPECT_THAT(rig.application.errors[0].description, HasSubstr(missing.string()));
    EXPECT_THAT(rig.application.recordings, IsEmpty());
}

TEST(RecorderTap, CountsTheFramesThatFoundNoRoom) {
    const TemporaryFolder folder;
    std::atomic<bool> isHeld{true};
    auto file = startRecording(folder.path / "take.m4a", losslessFormat(48000, 2, 16),
                               {.ringLength = 100ms, .beforeWrite = [&] { isHeld.wait(true); }});
    RecorderTap tap;
    tap.file().put(*file);
    const std::array<float, 128> silence{};
    for (int n = 0; n < 1000; ++n) tap.take({{silence.data(), silence.data()}, 128}, {0, 48000}, true);
    EXPECT_GT(tap.lostFrames(), 0U);
    EXPECT_EQ(tap.lostFrames(), ExtAudioFileGetReport(file.get()).framesDropped);
    isHeld = false;
    isHeld.notify_all();
    tap.file().take();
    EXPECT_EQ(ExtAudioFileDispose(file), kNoError);
}

}  // namespace
}  // namespace zelvane

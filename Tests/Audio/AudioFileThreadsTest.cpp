// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/File/ExtAudioFileSlot.h"
#include "Platform/Audio/RealtimeScope.h"
#include "Tests/Audio/RecordingSignal.h"
#include "Tests/Fakes/AudioFileReader.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/RealtimeGuard.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>

namespace zelvane {
namespace {

/// A disk that can be held up.
class HeldDisk {
  public:
    /// Call with false to let writes through again.
    void hold(bool isHeld) {
        _isHeld = isHeld;
        _isHeld.notify_all();
    }
    bool isWaiting() const { return _isWaiting; }

    ExtAudioFileOptions options() {
        return {.ringLength = std::chrono::milliseconds(1000), .beforeWrite = [this] {
                    _isWaiting = true;
                    _isHeld.wait(true);
                    _isWaiting = false;
                }};
    }

  private:
    std::atomic<bool> _isHeld{true};
    std::atomic<bool> _isWaiting{false};
};

TEST(AudioFileThreads, SilenceTakesThePlaceOfWhatASlowDiskHasNoRoomFor) {
    const TemporaryFolder folder;
    const auto path = folder.path / "slow.m4a";
    HeldDisk disk;
    auto file = startRecording(path, losslessFormat(48000, 2, 16), disk.options());
    SoundFeed feed(48000, 2, stepsOf(16));
    feed.feed(file.get(), 4096);
    ASSERT_TRUE(waitFor([&] { return disk.isWaiting(); }, 60));
    // The ring is empty now and stays as it is filled.
    while (feed.feed(file.get(), SoundFeed::kBlock) == kNoError) {
    }
    const std::uint64_t firstDropped = feed.position - SoundFeed::kBlock;
    EXPECT_GE(firstDropped, 4096 + 48000U);
    EXPECT_EQ(feed.feed(file.get(), 1000 * SoundFeed::kBlock), kExtAudioFileError_AsyncWriteBufferOverflow);
    const std::uint64_t dropped = feed.position - firstDropped;
    EXPECT_EQ(ExtAudioFileGetReport(file.get()).framesDropped, dropped);
    disk.hold(false);
    ASSERT_TRUE(waitFor([&] { return ExtAudioFileGetReport(file.get()).framesWritten >= 24000; }, 60));
    EXPECT_EQ(feed.feed(file.get(), 1000), kNoError);
    EXPECT_EQ(ExtAudioFileDispose(file), kNoError);

    const auto decoded = decodeAudioFile(path);
    ASSERT_TRUE(decoded);
    ASSERT_EQ(decoded->size(), 2 * feed.position);
    for (std::uint64_t frame = 0; frame < feed.position; ++frame) {
        const bool isLost = frame >= firstDropped && frame < firstDropped + dropped;
        for (std::uint32_t channel = 0; channel < 2; ++channel)
            ASSERT_EQ((*decoded)[2 * frame + channel], isLost ? 0 : signalSample(frame, channel, 16)) << frame;
    }
}

TEST(AudioFileThreads, HandingSoundOverKeepsToTheRulesOfTheAudioThreadAlsoWhereItIsDropped) {
    const TemporaryFolder folder;
    HeldDisk disk;
    auto file = startRecording(folder.path / "audio.m4a", losslessFormat(48000, 2, 16), disk.options());
    ExtAudioFileSlot slot;
    slot.put(*file);
    SoundFeed feed(48000, 2, stepsOf(16));
    RealtimeGuard::reset();
    bool hasDropped = false;
    std::uint64_t taken = 0;
    for (int i = 0; i < 2000; ++i) {
        feed.prepare(SoundFeed::kBlock);
        const AudioBufferList buffers = feed.buffers();
        const RealtimeScope realtime;
        const OSStatus status = slot.write(SoundFeed::kBlock, buffers);
        hasDropped = hasDropped || status == kExtAudioFileError_AsyncWriteBufferOverflow;
        taken += status == kNoError ? 1 : 0;
    }
    EXPECT_TRUE(hasDropped);
    EXPECT_GT(taken, 100U);
    disk.hold(false);
    EXPECT_EQ(slot.take(), file.get());
    EXPECT_EQ(ExtAudioFileDispose(file), kNoError);
    EXPECT_EQ(RealtimeGuard::violations().total(), 0U) << RealtimeGuard::firstOffender();
    EXPECT_EQ(probeAudioFile(folder.path / "audio.m4a")["duration_ts"], std::to_string(feed.position))
        << "what was dropped at the end is silence too";
}

TEST(AudioFileThreads, FilesComeAndGoUnderAnAudioThreadThatNeverStops) {
    const TemporaryFolder folder;
    ExtAudioFileSlot slot;
    std::atomic<bool> isOver{false};
    std::atomic<std::uint64_t> accepted{0};
    std::thread audio([&] {
        SoundFeed feed(48000, 2, stepsOf(16));
        feed.prepare(SoundFeed::kBlock);
        while (!isOver) {
            // Counted without a file too.
            if (slot.write(SoundFeed::kBlock, feed.buffers()) == kNoError) accepted += SoundFeed::kBlock;
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    });
    for (int round = 0; round < 20; ++round) {
        auto file = startRecording(folder.path / "round.m4a", losslessFormat(48000, 2, 16));
        ASSERT_NE(file, nullptr);
        const std::uint64_t before = accepted;
        slot.put(*file);
        const std::uint64_t after = accepted;
        while (accepted - after < 5000) std::this_thread::yield();
        EXPECT_EQ(slot.take(), file.get());
        const std::uint64_t most = accepted - before + SoundFeed::kBlock;
        EXPECT_EQ(ExtAudioFileDispose(file), kNoError);
        const std::string frames = probeAudioFile(folder.path / "round.m4a")["duration_ts"];
        EXPECT_GE(std::stoull("0" + frames), 5000 - SoundFeed::kBlock);
        EXPECT_LE(std::stoull("0" + frames), most);
        EXPECT_EQ(std::stoull("0" + frames) % SoundFeed::kBlock, 0U);
    }
    isOver = true;
    audio.join();
}

TEST(AudioFileThreads, ARecordingThatEndsLeavesTheNameToTheNextThatHasIt) {
    const TemporaryFolder folder;
    const auto path = folder.path / "again.m4a";
    for (std::uint64_t round = 0; round < 20; ++round) {
        std::latch isFinished(1);
        auto first = startRecording(path, losslessFormat(48000, 2, 16),
                                    {.finished = [&](const ExtAudioFileReport&) { isFinished.count_down(); }});
        SoundFeed(48000, 2, always(0.5F)).feed(first.get(), 200000);
        EXPECT_EQ(ExtAudioFileBeginDispose(first.get()), kNoError);
        auto second = startRecording(path, losslessFormat(48000, 2, 16));
        ASSERT_NE(second, nullptr);
        SoundFeed feed(48000, 2, stepsOf(16));
        feed.feed(second.get(), 5000 + 997 * round);
        isFinished.wait();
        EXPECT_EQ(ExtAudioFileDispose(second), kNoError);
        EXPECT_EQ(ExtAudioFileDispose(first), kNoError);
        const auto decoded = decodeAudioFile(path);
        ASSERT_TRUE(decoded);
        ASSERT_EQ(decoded->size(), 2 * feed.position) << round;
        EXPECT_EQ(firstDifference(*decoded, 2, 16), -1);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path), {}), 1);
}

}  // namespace
}  // namespace zelvane

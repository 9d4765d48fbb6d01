// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Audio/RecordingSignal.h"
#include "Tests/Fakes/AudioFileReader.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <random>
#include <sstream>
#include <thread>

namespace zelvane {
namespace {

namespace fs = std::filesystem;

/// Another program that records in real time, to be killed.
class Victim {
  public:
    Victim(const fs::path& folder, int number, double secondsToLive)
        : path(folder / (std::to_string(number) + ".m4a")),
          _count(folder / (std::to_string(number) + ".count")),
          _life(secondsToLive),
          _process({RECORDING_CHILD, "play", path}, {}, _count) {}

    /// Its life begins with its first sound. True once it is over.
    bool killWhenDue() {
        const auto now = std::chrono::steady_clock::now();
        if (handedOver() == 0) _start = now;
        if (now < _start + _life) return false;
        _process.kill();
        return true;
    }
    std::uint64_t handedOver() const { return fs::file_size(_count) * SoundFeed::kBlock; }

    const fs::path path;

  private:
    const fs::path _count;
    const std::chrono::duration<double> _life;
    std::chrono::steady_clock::time_point _start = std::chrono::steady_clock::now();
    ChildProcess _process;
};

/// Frames of a file, all of which are those of the signal.
std::uint64_t wholeFrames(const fs::path& path) {
    const auto decoded = decodeAudioFile(path);
    EXPECT_TRUE(decoded) << path;
    if (!decoded) return 0;
    EXPECT_EQ(firstDifference(*decoded, 2, 16), -1) << path;
    return decoded->size() / 2;
}

TEST(RecordingCrash, AHundredKilledRecordingsOpenAndLackASecondAtMost) {
    const auto seed = std::random_device{}();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> lives(0, 2.5);
    for (int batch = 0; batch < 5; ++batch) {
        const TemporaryFolder folder;
        std::vector<std::unique_ptr<Victim>> victims;
        std::vector<Victim*> alive;
        for (int i = 0; i < 20; ++i) {
            victims.push_back(std::make_unique<Victim>(folder.path, i, lives(random)));
            alive.push_back(victims.back().get());
        }
        const auto killDue = [&] {
            std::erase_if(alive, [](Victim* victim) { return victim->killWhenDue(); });
            return alive.empty();
        };
        ASSERT_TRUE(waitFor(killDue, 120));
        for (const auto& victim : victims) {
            const std::uint64_t kept = wholeFrames(victim->path);
            EXPECT_LE(kept, victim->handedOver() + SoundFeed::kBlock);
            EXPECT_GE(kept + 48000, victim->handedOver());
        }
    }
}

TEST(RecordingCrash, AKillWhileAFileIsFinishedOrReplacedLeavesOneThatOpens) {
    std::mt19937 random(std::random_device{}());
    const TemporaryFolder folder;
    const auto path = folder.path / "again.m4a";
    std::uint64_t most = 0;
    for (int round = 0; round < 40; ++round) {
        ChildProcess process({RECORDING_CHILD, "repeat", path}, {});
        ASSERT_TRUE(waitFor([&] { return fs::exists(path); }, 60));
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 250000));
        process.kill();
        const std::uint64_t frames = wholeFrames(path);
        EXPECT_LE(frames, 48000U);
        most = std::max(most, frames);
    }
    EXPECT_EQ(most, 48000U);
}

/// Runs the other program to its end and returns the values it tells.
std::map<std::string, std::string> outcomeOf(const std::vector<std::string>& arguments, const fs::path& folder) {
    std::vector<std::string> command{RECORDING_CHILD};
    command.insert(command.end(), arguments.begin(), arguments.end());
    EXPECT_TRUE(ChildProcess::run(command, {}, folder / "outcome"));
    std::istringstream lines(TemporaryFolder::read(folder / "outcome"));
    std::map<std::string, std::string> values;
    for (std::string line; std::getline(lines, line);)
        values[line.substr(0, line.find('='))] = line.substr(line.find('=') + 1);
    return values;
}

/// The recording told once that it failed, why, and how much the file holds, and the file has that.
void expectFailed(std::map<std::string, std::string>& outcome, int number, OSStatus status, const fs::path& file) {
    EXPECT_EQ(outcome["errno"], std::to_string(number));
    EXPECT_EQ(outcome["status"], std::to_string(status));
    EXPECT_EQ(outcome["failed"], "1");
    EXPECT_EQ(outcome["frames"], std::to_string(wholeFrames(file)));
}

TEST(RecordingCrash, WhatFitsOnAFullDiskIsKept) {
    const TemporaryFolder folder;
    fs::create_directory(folder.path / "disk");
    const auto copy = folder.path / "copy.m4a";
    auto outcome = outcomeOf({"fill", folder.path / "disk", copy}, folder.path);
    expectFailed(outcome, outcome["disk"] == "small" ? ENOSPC : EFBIG, kAudioFileDiskFullError, copy);
    EXPECT_EQ(outcome["refusal"], std::to_string(kAudioFileDiskFullError));
    // 200 kB a second at the most, and no fragment that is longer.
    EXPECT_GT(fs::file_size(copy), 800000U);
    const FileBox last = boxesOfFile(copy).back();
    EXPECT_EQ(last.place + last.size, fs::file_size(copy));
}

TEST(RecordingCrash, AWriteErrorEndsTheRecordingAndKeepsWhatWasWritten) {
    const TemporaryFolder folder;
    const auto path = folder.path / "broken.m4a";
    auto outcome = outcomeOf({"break", path}, folder.path);
    expectFailed(outcome, EIO, kAudioFileIOError, path);
    EXPECT_EQ(outcome["refusal"], std::to_string(kAudioFileIOError));
    EXPECT_GE(std::stoull(outcome["frames"]), 50000U);
}

TEST(RecordingCrash, WithoutRoomForAnOrdinaryFileTheFragmentsStay) {
    const TemporaryFolder folder;
    const auto path = folder.path / "tight.m4a";
    auto outcome = outcomeOf({"tight", path}, folder.path);
    expectFailed(outcome, EFBIG, kAudioFileDiskFullError, path);
    EXPECT_EQ(outcome["fragmented"], "1");
    EXPECT_EQ(outcome["frames"], std::to_string(7 * 4096));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path), {}), 2);
}

}  // namespace
}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Audio/RecordingSignal.h"
#include "Tests/Fakes/AudioFileReader.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <tuple>

namespace zelvane {
namespace {

namespace fs = std::filesystem;

/// Depth as the file's flags have it (1 to 4 stand for 16, 20, 24 and 32 bits), rate and channels.
class BitExact : public testing::TestWithParam<std::tuple<std::uint32_t, double, std::uint32_t>> {};

TEST_P(BitExact, WhatIsDecodedIsWhatWasHandedOver) {
    const auto [flags, rate, channels] = GetParam();
    const std::uint32_t bits = flags == 1 ? 16 : 24;  // the nearest that loses nothing
    constexpr std::uint64_t kFrames = 12 * 4096 + 1234;
    const TemporaryFolder folder;
    const auto path = folder.path / "A song, “quoted”.m4a";
    ExtAudioFileReport end;
    auto format = losslessFormat(rate, channels, bits);
    format.mFormatFlags = flags;
    auto file = startRecording(path, format, {.finished = [&](const ExtAudioFileReport& report) { end = report; }});
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(SoundFeed(rate, channels, stepsOf(bits)).feed(file.get(), kFrames), kNoError);
    EXPECT_EQ(ExtAudioFileDispose(file), kNoError);
    EXPECT_EQ(end.errorText, "");
    EXPECT_TRUE(end.isFinished);
    EXPECT_FALSE(end.isFragmented);
    EXPECT_EQ(end.framesWritten, kFrames);

    const auto decoded = decodeAudioFile(path);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->size(), kFrames * channels);
    EXPECT_EQ(firstDifference(*decoded, channels, bits), -1);

    auto probed = probeAudioFile(path);
    EXPECT_EQ(probed["codec_name"], "alac");
    EXPECT_EQ(std::stod("0" + probed["sample_rate"]), rate);
    EXPECT_EQ(probed["channels"], std::to_string(channels));
    EXPECT_EQ(probed["bits_per_raw_sample"], std::to_string(bits));
    EXPECT_EQ(probed["duration_ts"], std::to_string(kFrames));
    EXPECT_EQ(probed["nb_frames"], "13");
    EXPECT_EQ(probed["start_pts"], "0");
    EXPECT_EQ(probed["TAG:title"], "A song, “quoted”");
    EXPECT_THAT(probed["TAG:date"], testing::MatchesRegex("20..-..-..T..:..:..Z"));
    EXPECT_EQ(probed["TAG:major_brand"], "M4A ");
    std::string types;
    for (const FileBox& box : boxesOfFile(path)) types += box.type + ' ';
    EXPECT_EQ(types, "ftyp moov free free mdat ");
}

INSTANTIATE_TEST_SUITE_P(UsualFormats, BitExact,
                         testing::Combine(testing::Values(1U, 3U), testing::Values(44100.0, 48000.0, 96000.0),
                                          testing::Values(1U, 2U, 8U)));
INSTANTIATE_TEST_SUITE_P(OtherDepthsAndChannelCounts, BitExact,
                         testing::Combine(testing::Values(2U, 4U), testing::Values(192000.0),
                                          testing::Values(3U, 4U, 5U, 6U, 7U)));

class AudioFile : public testing::Test {
  protected:
    const TemporaryFolder folder;
    const fs::path path = folder.path / "song.m4a";
    const AudioStreamBasicDescription format = losslessFormat(48000, 2, 16);
    SoundFeed feed{48000, 2, stepsOf(16)};
};

TEST_F(AudioFile, SamplesOutsideTheRangeAreHeldToItAndWhatIsNoNumberIsSilent) {
    constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
    constexpr float kInfinite = std::numeric_limits<float>::infinity();
    constexpr std::array<float, 8> kSamples{1.0F, -1.0F, 1.5F, -7.0F, kInfinite, -kInfinite, kNone, -kNone};
    for (const std::uint32_t bits : {16U, 24U}) {
        auto file = startRecording(path, losslessFormat(48000, 1, bits));
        SoundFeed(48000, 1, [&](std::uint64_t frame, std::uint32_t) { return kSamples[frame]; }).feed(file.get(), 8);
        ExtAudioFileDispose(file);
        const auto most = static_cast<std::int32_t>(0x7FFFFFFFU & ~0U << (32 - bits));
        constexpr auto kLeast = std::numeric_limits<std::int32_t>::min();
        EXPECT_THAT(decodeAudioFile(path),
                    testing::Optional(testing::ElementsAre(most, kLeast, most, kLeast, most, kLeast, 0, 0)));
    }
}

TEST_F(AudioFile, AFreeNameIsTakenAtOnceAndGivenUpWithoutSound) {
    auto file = startRecording(path, format);
    EXPECT_EQ(probeAudioFile(path)["codec_name"], "alac");
    ExtAudioFileDispose(file);
    EXPECT_TRUE(fs::is_empty(folder.path));
}

TEST_F(AudioFile, AnEarlierRecordingIsReplacedByTheFirstSoundAndNotBefore) {
    const auto link = folder.path / "link.m4a";
    fs::create_symlink("song.m4a", link);
    folder.write("song.m4a", "what was there");
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
    for (const std::uint64_t frames : {0U, 5000U}) {
        auto file = startRecording(link, format);
        EXPECT_EQ(TemporaryFolder::read(path), "what was there");
        feed.feed(file.get(), frames);
        ExtAudioFileDispose(file);
    }
    EXPECT_THAT(decodeAudioFile(path), testing::Optional(testing::SizeIs(2 * 5000)));
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_TRUE(fs::is_symlink(link)) << "it stays, and what it stands for is replaced";
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path), {}), 2);
}

TEST_F(AudioFile, AFileThatWasMovedAwayStaysWhereItIsInFragmentsWhoseHeadsCrossNoBordersOfBlocks) {
    constexpr std::size_t kBlock = 4096;
    constexpr std::uint64_t kHalf = 150 * 4096;
    auto file = startRecording(path, losslessFormat(8000, 1, 16), {.ringLength = std::chrono::seconds(200)});
    SoundFeed mono(8000, 1, stepsOf(16));
    mono.feed(file.get(), kHalf);
    const auto moved = folder.path / "moved.m4a";
    fs::rename(path, moved);
    folder.write("song.m4a", "of somebody else");
    mono.feed(file.get(), kHalf);
    EXPECT_EQ(ExtAudioFileDispose(file), kNoError);
    EXPECT_EQ(TemporaryFolder::read(path), "of somebody else");
    const auto decoded = decodeAudioFile(moved);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->size(), 2 * kHalf);
    EXPECT_EQ(firstDifference(*decoded, 1, 16), -1);
    int fragments = 0;
    for (const FileBox& box : boxesOfFile(moved)) {
        if (box.type != "moof") continue;
        ++fragments;
        EXPECT_EQ(box.place / kBlock, (box.place + box.size + 7) / kBlock);
    }
    EXPECT_EQ(fragments, 300);
}

TEST_F(AudioFile, OperationsInAWrongOrderOrFormAreRefused) {
    ExtAudioFileRef file;
    const auto create = [&](const fs::path& where, AudioFileTypeID type, const AudioStreamBasicDescription& what,
                            std::uint32_t flags = kAudioFileFlags_EraseFile) {
        return ExtAudioFileCreateWithURL(where, type, what, flags, file);
    };
    EXPECT_EQ(create(path, 0x57415645, format), kAudioFileUnsupportedFileTypeError);
    EXPECT_EQ(create(path, kAudioFileM4AType, losslessFormat(48000, 9, 16)), kAudioFileUnsupportedDataFormatError);
    EXPECT_EQ(create(path, kAudioFileM4AType, clientFormat(48000, 2)), kAudioFileUnsupportedDataFormatError);
    EXPECT_EQ(create(folder.path / "none" / "song.m4a", kAudioFileM4AType, format), kAudioFileFileNotFoundError);
    EXPECT_EQ(create(folder.path, kAudioFileM4AType, format), kAudioFilePermissionsError);
    EXPECT_EQ(create("/dev/full", kAudioFileM4AType, format), kAudioFilePermissionsError);
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
    folder.write("there.m4a", "");
    EXPECT_EQ(create(folder.path / "there.m4a", kAudioFileM4AType, format, 0), kAudioFilePermissionsError);
    EXPECT_EQ(file, nullptr);

    EXPECT_EQ(ExtAudioFileWriteAsync(nullptr, 0, nullptr), kAudioFileNotOpenError);
    EXPECT_EQ(ExtAudioFileDispose(file), kAudioFileNotOpenError);
    ASSERT_EQ(create(path, kAudioFileM4AType, format), kNoError);
    EXPECT_EQ(ExtAudioFileWriteAsync(file.get(), 0, nullptr), kExtAudioFileError_InvalidOperationOrder);
    EXPECT_EQ(feed.feed(file.get(), 1), kExtAudioFileError_InvalidOperationOrder);
    EXPECT_EQ(ExtAudioFileSetProperty(file.get(), kExtAudioFileProperty_ClientDataFormat, sizeof format, &format),
              kExtAudioFileError_NonPCMClientFormat);
    EXPECT_EQ(ExtAudioFileDispose(file), kNoError);
}

/// First frame of a channel from `begin` on that is louder than half of a full scale.
std::size_t onsetAfter(const std::vector<std::int32_t>& samples, std::size_t begin, std::size_t channel) {
    for (std::size_t frame = begin; frame < samples.size() / 2; ++frame)
        if (std::abs(asFloat(samples[2 * frame + channel])) > 0.4F) return frame;
    return 0;
}

TEST_F(AudioFile, SoundThatComesAtAnotherRateOrChannelCountStaysInTime) {
    auto file = startRecording(path, losslessFormat(48000, 2, 24));
    struct Part {
        double rate;
        std::uint32_t channels;
    };
    // Seconds of sound, in each of which a tone begins after a half.
    const std::array<Part, 6> parts{{{48000, 2}, {44100, 2}, {96000, 1}, {22050, 3}, {192000, 2}, {48000, 2}}};
    for (const Part& part : parts) {
        const auto rate = static_cast<std::uint64_t>(part.rate);
        SoundFeed(part.rate, part.channels, [&](std::uint64_t frame, std::uint32_t) {
            return frame < rate / 2 ? 0.0F : 0.8F;
        }).feed(file.get(), rate);
    }
    EXPECT_EQ(ExtAudioFileDispose(file), kNoError);
    EXPECT_EQ(probeAudioFile(path)["duration_ts"], std::to_string(parts.size() * 48000));
    const auto decoded = decodeAudioFile(path);
    ASSERT_TRUE(decoded);
    for (std::size_t second = 0; second < parts.size(); ++second) {
        for (const std::size_t channel : {0U, 1U}) {
            EXPECT_NEAR(static_cast<double>(onsetAfter(*decoded, 48000 * second + 4800, channel)),
                        static_cast<double>(48000 * second + 24000), 1)
                << second;
            EXPECT_NEAR(asFloat((*decoded)[2 * (48000 * second + 47990) + channel]), 0.8F, 0.05F) << second;
        }
    }
}

TEST_F(AudioFile, APairIsMixedForALoneChannel) {
    auto file = startRecording(path, losslessFormat(48000, 1, 16));
    SoundFeed(48000, 2, [](std::uint64_t, std::uint32_t channel) {
        return channel == 0 ? 0.5F : 0.25F;
    }).feed(file.get(), 3);
    ExtAudioFileDispose(file);
    EXPECT_THAT(decodeAudioFile(path), testing::Optional(testing::Each(0x30000000)));
}

}  // namespace
}  // namespace zelvane

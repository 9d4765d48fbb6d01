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

class BitExact : public testing::TestWithParam<std::tuple<std::uint32_t, double, std::uint32_t>> {};

TEST_P(BitExact, WhatIsDecodedIsWhatWasHandedOver) {
    const auto [bits, rate, channels] = GetParam();
    constexpr std::uint64_t kFrames = 12 * 4096 + 1234;
    const TemporaryFolder folder;
    const auto path = folder.path / "A song, “quoted”.m4a";
    ExtAudioFileReport end;
    auto file = startRecording(path, losslessFormat(rate, channels, bits),
                               {.finished = [&](const ExtAudioFileReport& report) { end = report; }});
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
                         testing::Combine(testing::Values(16U, 24U), testing::Values(44100.0, 48000.0, 96000.0),
                                          testing::Values(1U, 2U, 8U)));
INSTANTIATE_TEST_SUITE_P(OtherChannelCounts, BitExact,
                         testing::Combine(testing::Values(24U), testing::Values(192000.0),
                                          testing::Values(3U, 4U, 5U, 6U, 7U)));

TEST(AudioFile, SamplesOutsideTheRangeAreHeldToItAndWhatIsNoNumberIsSilent) {
    constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
    constexpr float kInfinite = std::numeric_limits<float>::infinity();
    constexpr std::array<float, 8> kSamples{1.0F, -1.0F, 1.5F, -7.0F, kInfinite, -kInfinite, kNone, -kNone};
    for (const std::uint32_t bits : {16U, 24U}) {
        const TemporaryFolder folder;
        auto file = startRecording(folder.path / "loud.m4a", losslessFormat(48000, 1, bits));
        SoundFeed feed(48000, 1, [&](std::uint64_t frame, std::uint32_t) { return kSamples[frame % 8]; });
        feed.feed(file.get(), 8);
        ExtAudioFileDispose(file);
        const auto most = static_cast<std::int32_t>(0x7FFFFFFFU & ~0U << (32 - bits));
        constexpr auto kLeast = std::numeric_limits<std::int32_t>::min();
        EXPECT_THAT(decodeAudioFile(folder.path / "loud.m4a"),
                    testing::Optional(testing::ElementsAre(most, kLeast, most, kLeast, most, kLeast, 0, 0)));
    }
}

TEST(AudioFile, TheNearestDepthThatLosesNothingIsTaken) {
    const TemporaryFolder folder;
    const std::array<std::tuple<std::uint32_t, const char*>, 4> depths{{{1, "16"}, {2, "24"}, {3, "24"}, {4, "24"}}};
    for (const auto& [flags, depth] : depths) {
        auto format = losslessFormat(48000, 2, 16);
        format.mFormatFlags = flags;
        auto file = startRecording(folder.path / "depth.m4a", format);
        SoundFeed(48000, 2, stepsOf(16)).feed(file.get(), 1000);
        ExtAudioFileDispose(file);
        EXPECT_EQ(probeAudioFile(folder.path / "depth.m4a")["bits_per_raw_sample"], depth) << flags;
    }
}

TEST(AudioFile, AnEarlierRecordingIsReplacedByTheFirstSoundAndNotBefore) {
    const TemporaryFolder folder;
    const auto path = folder.write("song.m4a", "what was there");
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
    auto file = startRecording(path, losslessFormat(48000, 2, 16));
    ASSERT_NE(file, nullptr);
    ExtAudioFileDispose(file);
    EXPECT_EQ(TemporaryFolder::read(path), "what was there");

    file = startRecording(path, losslessFormat(48000, 2, 16));
    EXPECT_EQ(TemporaryFolder::read(path), "what was there");
    SoundFeed(48000, 2, stepsOf(16)).feed(file.get(), 5000);
    ExtAudioFileDispose(file);
    EXPECT_THAT(decodeAudioFile(path), testing::Optional(testing::SizeIs(2 * 5000)));
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path), {}), 1);
}

TEST(AudioFile, AFreeNameIsTakenAtOnceAndGivenUpWithoutSound) {
    const TemporaryFolder folder;
    const auto path = folder.path / "song.m4a";
    auto file = startRecording(path, losslessFormat(48000, 2, 16));
    EXPECT_EQ(probeAudioFile(path)["codec_name"], "alac");
    ExtAudioFileDispose(file);
    EXPECT_TRUE(fs::is_empty(folder.path));
}

TEST(AudioFile, ALinkStaysAndWhatItStandsForIsReplaced) {
    const TemporaryFolder folder;
    const auto target = folder.write("target.m4a", "old");
    fs::create_symlink("target.m4a", folder.path / "link.m4a");
    auto file = startRecording(folder.path / "link.m4a", losslessFormat(48000, 1, 16));
    SoundFeed(48000, 1, stepsOf(16)).feed(file.get(), 100);
    ExtAudioFileDispose(file);
    EXPECT_TRUE(fs::is_symlink(folder.path / "link.m4a"));
    EXPECT_THAT(decodeAudioFile(target), testing::Optional(testing::SizeIs(100)));
}

TEST(AudioFile, AFileThatWasMovedAwayStaysWhereItIsWithAllItsSound) {
    const TemporaryFolder folder;
    auto file = startRecording(folder.path / "song.m4a", losslessFormat(48000, 2, 16));
    SoundFeed feed(48000, 2, stepsOf(16));
    feed.feed(file.get(), 60000);
    fs::rename(folder.path / "song.m4a", folder.path / "moved.m4a");
    folder.write("song.m4a", "of somebody else");
    feed.feed(file.get(), 60000);
    EXPECT_EQ(ExtAudioFileDispose(file), kNoError);
    const auto decoded = decodeAudioFile(folder.path / "moved.m4a");
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->size(), 2 * 120000U);
    EXPECT_EQ(firstDifference(*decoded, 2, 16), -1);
    EXPECT_EQ(TemporaryFolder::read(folder.path / "song.m4a"), "of somebody else");
}

TEST(AudioFile, NoFragmentsHeadCrossesTheBorderOfABlock) {
    constexpr std::size_t kBlock = 4096;
    const TemporaryFolder folder;
    const auto path = folder.path / "many.m4a";
    auto file = startRecording(path, losslessFormat(8000, 1, 16), {.ringLength = std::chrono::seconds(200)});
    SoundFeed(8000, 1, stepsOf(16)).feed(file.get(), 300 * 4096);
    fs::rename(path, folder.path / "moved.m4a");  // keeps the fragments from being put together
    ExtAudioFileDispose(file);
    const auto decoded = decodeAudioFile(folder.path / "moved.m4a");
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->size(), 300 * 4096U);
    EXPECT_EQ(firstDifference(*decoded, 1, 16), -1);
    int fragments = 0;
    for (const FileBox& box : boxesOfFile(folder.path / "moved.m4a")) {
        if (box.type != "moof") continue;
        ++fragments;
        EXPECT_EQ(box.place / kBlock, (box.place + box.size + 7) / kBlock);
    }
    EXPECT_EQ(fragments, 300);
}

TEST(AudioFile, OperationsInAWrongOrderOrFormAreRefused) {
    const TemporaryFolder folder;
    const auto format = losslessFormat(48000, 2, 16);
    const auto path = folder.path / "song.m4a";
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
    SoundFeed feed(48000, 2, always(0));
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

TEST(AudioFile, SoundThatComesAtAnotherRateOrChannelCountStaysInTime) {
    const TemporaryFolder folder;
    const auto path = folder.path / "changes.m4a";
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

TEST(AudioFile, APairIsMixedForALoneChannel) {
    const TemporaryFolder folder;
    auto file = startRecording(folder.path / "mono.m4a", losslessFormat(48000, 1, 16));
    SoundFeed(48000, 2, [](std::uint64_t, std::uint32_t channel) {
        return channel == 0 ? 0.5F : 0.25F;
    }).feed(file.get(), 3);
    ExtAudioFileDispose(file);
    EXPECT_THAT(decodeAudioFile(folder.path / "mono.m4a"), testing::Optional(testing::Each(0x30000000)));
}

}  // namespace
}  // namespace zelvane

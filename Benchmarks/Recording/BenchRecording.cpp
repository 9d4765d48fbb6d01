// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks/Common/Require.h"
#include "Benchmarks/Common/Statistics.h"
#include "Platform/Audio/File/ExtAudioFile.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <random>
#include <thread>
#include <vector>

using namespace zelvane;

namespace {

constexpr std::uint32_t kBlock = 128;
constexpr double kSeconds = 60;
constexpr int kRounds = 5;

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// Time that this process had a core, so that other programs don't count.
double coreSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

struct Format {
    double rate;
    std::uint32_t channels;
    std::uint32_t bits;
};

/// Ten seconds of plucked tones with a little noise, one buffer a channel, which is then played over and over.
std::vector<std::vector<float>> makeMusic(const Format& format) {
    std::mt19937 random(1);
    std::normal_distribution<float> noise(0, 0.002F);
    std::vector<std::vector<float>> channels(format.channels);
    for (auto& channel : channels)
        for (double frame = 0; frame < 10 * format.rate; ++frame) {
            const double time = frame / format.rate;
            const double pitch = 2 * M_PI * time * 220 * (1 + std::floor(std::fmod(time, 8)) / 4);
            const double tone = std::sin(pitch) + 0.5 * std::sin(2.01 * pitch) + 0.2 * std::sin(6 * pitch);
            channel.push_back(static_cast<float>(0.4 * std::exp(-2 * std::fmod(time, 1)) * tone) + noise(random));
        }
    return channels;
}

ExtAudioFileRef openFile(const std::filesystem::path& path, const Format& format, ExtAudioFileOptions options) {
    AudioStreamBasicDescription description;
    description.mSampleRate = format.rate;
    description.mFormatID = kAudioFormatAppleLossless;
    description.mFormatFlags = format.bits == 16 ? 1 : 3;
    description.mChannelsPerFrame = format.channels;
    AudioStreamBasicDescription client = description;
    client.mFormatID = kAudioFormatLinearPCM;
    client.mFormatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsNonInterleaved;
    ExtAudioFileRef file;
    require(ExtAudioFileCreateWithURL(path, kAudioFileM4AType, description, kAudioFileFlags_EraseFile, file,
                                      std::move(options)) == kNoError,
            "no file could be made at " + path.string());
    require(ExtAudioFileSetProperty(file.get(), kExtAudioFileProperty_ClientDataFormat, sizeof client, &client) ==
                    kNoError &&
                ExtAudioFileWriteAsync(file.get(), 0, nullptr) == kNoError,
            "the file could not be primed");
    return file;
}

/// Plays music as fast as it is taken.
class Feed {
  public:
    Feed(const Format& format, const std::vector<std::vector<float>>& music)
        : _rate(format.rate), _music(music), _channels(format.channels) {}

    OSStatus feed(ExtAudioFile* file) {
        for (std::size_t i = 0; i < _channels.size(); ++i) _channels[i] = _music[i].data() + _place;
        const AudioBufferList buffer{_channels, _rate};
        const OSStatus status = ExtAudioFileWriteAsync(file, kBlock, &buffer);
        _place = (_place + kBlock) % (_music[0].size() - kBlock);
        return status;
    }

  private:
    const double _rate;
    const std::vector<std::vector<float>>& _music;
    std::vector<const float*> _channels;
    std::size_t _place = 0;
};

struct Speed {
    double writing;    ///< seconds of sound for a second of a core
    double finishing;  ///< seconds until the file is an ordinary one
};

Speed measureSpeed(const std::filesystem::path& path, const Format& format,
                   const std::vector<std::vector<float>>& music) {
    // Longer than the music, so that nothing has to wait or is dropped.
    auto file = openFile(path, format, {.ringLength = std::chrono::seconds(static_cast<int>(kSeconds) + 10)});
    const double start = coreSeconds();
    Feed feed(format, music);
    const auto blocks = static_cast<int>(kSeconds * format.rate / kBlock);
    for (int block = 0; block < blocks; ++block) require(feed.feed(file.get()) == kNoError, "sound was not taken");
    const auto written = static_cast<std::uint64_t>((kSeconds - 1) * format.rate);
    while (ExtAudioFileGetReport(file.get()).framesWritten < written)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    const double writing = coreSeconds() - start;
    const double beforeEnd = now();
    require(ExtAudioFileDispose(file) == kNoError, "the file could not be finished");
    return {kSeconds / writing, now() - beforeEnd};
}

void printSpeed(const std::filesystem::path& path, const Format& format) {
    const auto music = makeMusic(format);
    std::vector<double> writing, finishing;
    for (int round = 0; round < kRounds; ++round) {
        const Speed speed = measureSpeed(path, format, music);
        writing.push_back(speed.writing);
        finishing.push_back(speed.finishing);
    }
    const auto size = static_cast<double>(std::filesystem::file_size(path));
    std::printf("%.1f kHz, %u channels, %u bits: %.0f times real time; %.0f MB finished in %.2f s\n", format.rate / 1e3,
                format.channels, format.bits, median(writing), size / 1e6, median(finishing));
}

/// The disk stops answering before the first piece: how much sound is taken until some is dropped?
void printLongestStall(const std::filesystem::path& path, const Format& format) {
    const auto music = makeMusic(format);
    std::atomic<bool> isStalled{true};
    std::atomic<bool> isWaiting{false};
    auto file = openFile(path, format, {.beforeWrite = [&] {
                             isWaiting = true;
                             isStalled.wait(true);
                         }});
    Feed feed(format, music);
    while (!isWaiting) {
        feed.feed(file.get());
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    double frames = 0;
    while (feed.feed(file.get()) == kNoError) frames += kBlock;
    isStalled = false;
    isStalled.notify_all();
    require(ExtAudioFileDispose(file) == kNoError, "the file could not be finished");
    std::printf("%.1f kHz, %u channels: a disk may stop for %.1f s\n", format.rate / 1e3, format.channels,
                frames / format.rate);
}

}  // namespace

/// Writes to the folder that is named, or to the present one.
int main(int count, char** arguments) {
    return runBenchmark([&] {
        const std::filesystem::path path =
            std::filesystem::path(count > 1 ? arguments[1] : ".") / "zelvane-benchmark.m4a";
        const std::array<Format, 4> formats{{{44100, 2, 16}, {48000, 2, 24}, {96000, 2, 24}, {96000, 8, 24}}};
        for (const Format& format : formats) printSpeed(path, format);
        for (const Format& format : formats) printLongestStall(path, format);
        std::filesystem::remove(path);
    });
}

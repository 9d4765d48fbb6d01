// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/File/ExtAudioFile.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace zelvane {

/// A sample that is known by its place: a step of 16 or 24 bits, at the top of 32. Noise over the whole range and a
/// quiet slope take turns, since they are packed in different ways.
inline std::int32_t signalSample(std::uint64_t frame, std::uint32_t channel, std::uint32_t bits) {
    const auto place = static_cast<std::uint32_t>(frame) * 8 + channel;
    const bool isNoise = frame / 10000 % 2 == 0;
    std::uint32_t value = isNoise ? place * 2654435761U : (place % 4096 + 7 * channel) << 16U;
    if (isNoise) value ^= value >> 15U;
    return static_cast<std::int32_t>(value & ~0U << (32 - bits));
}

inline float asFloat(std::int32_t sample) {
    return static_cast<float>(sample) / 2147483648.0F;
}

/// A sample for a frame and a channel.
using Signal = std::function<float(std::uint64_t frame, std::uint32_t channel)>;

inline Signal stepsOf(std::uint32_t bits) {
    return [bits](std::uint64_t frame, std::uint32_t channel) { return asFloat(signalSample(frame, channel, bits)); };
}

inline Signal always(float value) {
    return [value](std::uint64_t, std::uint32_t) { return value; };
}

inline AudioStreamBasicDescription losslessFormat(double sampleRate, std::uint32_t channels, std::uint32_t bits) {
    AudioStreamBasicDescription format;
    format.mSampleRate = sampleRate;
    format.mFormatID = kAudioFormatAppleLossless;
    format.mFormatFlags = bits == 16 ? 1 : 3;
    format.mChannelsPerFrame = channels;
    return format;
}

inline AudioStreamBasicDescription clientFormat(double sampleRate, std::uint32_t channels) {
    AudioStreamBasicDescription format;
    format.mSampleRate = sampleRate;
    format.mFormatID = kAudioFormatLinearPCM;
    format.mFormatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked | kAudioFormatFlagIsNonInterleaved;
    format.mChannelsPerFrame = channels;
    return format;
}

/// Creates and primes a file. Null when that fails.
inline ExtAudioFileRef startRecording(const std::filesystem::path& path, const AudioStreamBasicDescription& format,
                                      ExtAudioFileOptions options = {}) {
    ExtAudioFileRef file;
    if (ExtAudioFileCreateWithURL(path, kAudioFileM4AType, format, kAudioFileFlags_EraseFile, file,
                                  std::move(options)) != kNoError)
        return nullptr;
    const auto client = clientFormat(format.mSampleRate, format.mChannelsPerFrame);
    if (ExtAudioFileSetProperty(file.get(), kExtAudioFileProperty_ClientDataFormat, sizeof client, &client) !=
            kNoError ||
        ExtAudioFileWriteAsync(file.get(), 0, nullptr) != kNoError)
        return nullptr;
    return file;
}

/// Hands sound over as the audio thread does, 128 frames at a time.
class SoundFeed {
  public:
    SoundFeed(double sampleRate, std::uint32_t channels, Signal signal)
        : _sampleRate(sampleRate), _signal(std::move(signal)), _samples(channels, std::vector<float>(kBlock)) {
        for (const auto& channel : _samples) _channels.push_back(channel.data());
    }

    static constexpr std::uint32_t kBlock = 128;

    /// The status of the last block.
    OSStatus feed(ExtAudioFile* file, std::uint64_t frames) {
        OSStatus status = kNoError;
        while (frames > 0) {
            const auto now = static_cast<std::uint32_t>(std::min<std::uint64_t>(frames, kBlock));
            prepare(now);
            const AudioBufferList buffer = buffers();
            status = ExtAudioFileWriteAsync(file, now, &buffer);
            frames -= now;
        }
        return status;
    }

    /// Makes the next frames of the signal, for `buffers`.
    void prepare(std::uint32_t frames) {
        for (std::uint32_t channel = 0; channel < _samples.size(); ++channel)
            for (std::uint32_t i = 0; i < frames; ++i) _samples[channel][i] = _signal(position + i, channel);
        position += frames;
    }
    AudioBufferList buffers() const { return {_channels, _sampleRate}; }

    std::uint64_t position = 0;

  private:
    const double _sampleRate;
    const Signal _signal;
    std::vector<std::vector<float>> _samples;
    std::vector<const float*> _channels;
};

/// Where decoded samples first differ from the signal; -1 when they are the same.
inline std::int64_t firstDifference(const std::vector<std::int32_t>& decoded, std::uint32_t channels,
                                    std::uint32_t bits) {
    for (std::size_t i = 0; i < decoded.size(); ++i)
        if (decoded[i] != signalSample(i / channels, static_cast<std::uint32_t>(i % channels), bits))
            return static_cast<std::int64_t>(i);
    return -1;
}

}  // namespace zelvane

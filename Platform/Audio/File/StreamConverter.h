// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/File/Libav.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace zelvane {

/// One pointer a channel of the file, and how many frames each has.
using FrameSink = std::function<void(const float* const* channels, std::uint32_t frames)>;

/// Brings sound of any rate and channel count to the file's, so that to the frame as much time comes out as went in.
/// What has the file's rate passes as it is.
class StreamConverter {
  public:
    StreamConverter(std::uint32_t sampleRate, std::uint32_t channels, FrameSink sink);

    /// Samples of one channel after the other. Lone channels are put in both of a pair, a pair is mixed for a lone one;
    /// otherwise the channels that both have are taken and further ones are silent.
    void write(const std::vector<float>& samples, std::uint32_t channels, std::uint32_t frames, double sampleRate);
    void writeSilence(double seconds);
    /// Brings out what the resampler still holds; afterwards all that went in is out.
    void finish();

  private:
    std::uint64_t framesOwed() const;
    void mapChannels(const std::vector<float>& samples, std::uint32_t channels, std::uint32_t frames);
    void startRun(double sampleRate);
    void resample(const float* const* input, std::uint32_t frames);
    void emit(std::uint32_t frames);
    void padWithSilence();

    const std::uint32_t _sampleRate;
    const std::uint32_t _channels;
    const FrameSink _sink;
    double _runRate = 0;                   // of what comes; a run ends when it changes
    LibavOwner<SwrContext> _resampler;     // of this run; none when there is nothing to do
    double _due = 0;                       // frames of the file that what went in amounts to
    std::uint64_t _made = 0;               // frames of the file that came out
    std::vector<std::vector<float>> _mix;  // scratch of channels that are mixed
    std::vector<const float*> _input;      // the channels of the file in what has come
    std::vector<std::vector<float>> _output;
    std::vector<float*> _outputPlaces;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/File/StreamConverter.h"

#include "Platform/Audio/File/RecordingError.h"

#include <algorithm>
#include <cmath>

namespace zelvane {

namespace {

constexpr std::uint32_t kOutputFrames = 4096;

}  // namespace

StreamConverter::StreamConverter(std::uint32_t sampleRate, std::uint32_t channels, FrameSink sink)
    : _sampleRate(sampleRate), _channels(channels), _sink(std::move(sink)), _mix(channels), _input(channels) {
    _output.assign(channels, std::vector<float>(kOutputFrames));
    for (auto& channel : _output) _outputPlaces.push_back(channel.data());
}

void StreamConverter::write(const std::vector<float>& samples, std::uint32_t channels, std::uint32_t frames,
                            double sampleRate) {
    if (sampleRate != _runRate) startRun(sampleRate);
    mapChannels(samples, channels, frames);
    _due += frames * _sampleRate / sampleRate;
    if (_resampler != nullptr) return resample(_input.data(), frames);
    _sink(_input.data(), frames);
    _made += frames;
}

void StreamConverter::writeSilence(double seconds) {
    if (seconds <= 0) return;
    finish();
    _due += seconds * _sampleRate;
    padWithSilence();
}

void StreamConverter::finish() {
    if (_resampler != nullptr) resample(nullptr, 0);
    padWithSilence();
    _resampler.reset();
    _runRate = 0;
}

std::uint64_t StreamConverter::framesOwed() const {
    const auto due = static_cast<std::uint64_t>(std::llround(_due));
    return due > _made ? due - _made : 0;
}

void StreamConverter::mapChannels(const std::vector<float>& samples, std::uint32_t channels, std::uint32_t frames) {
    const auto channel = [&](std::size_t index) { return samples.data() + index * frames; };
    for (std::size_t i = 0; i < _channels; ++i) {
        const bool isCopy = i < channels && !(_channels == 1 && channels == 2);
        if (isCopy || (channels == 1 && i == 1)) {
            _input[i] = channel(isCopy ? i : 0);
            continue;
        }
        _mix[i].assign(frames, 0.0F);
        if (_channels == 1)
            std::transform(channel(0), channel(1), channel(1), _mix[i].begin(),
                           [](float left, float right) { return (left + right) / 2; });
        _input[i] = _mix[i].data();
    }
}

void StreamConverter::startRun(double sampleRate) {
    finish();
    _runRate = sampleRate;
    if (sampleRate == _sampleRate) return;
    AVChannelLayout layout{};
    av_channel_layout_default(&layout, static_cast<int>(_channels));
    SwrContext* context = nullptr;
    checkLibav(swr_alloc_set_opts2(&context, &layout, AV_SAMPLE_FMT_FLTP, static_cast<int>(_sampleRate), &layout,
                                   AV_SAMPLE_FMT_FLTP, static_cast<int>(std::lround(sampleRate)), 0, nullptr),
               "could not set up the conversion of the sample rate");
    _resampler = ownLibav(context);
    checkLibav(swr_init(context), "could not start the conversion of the sample rate");
}

/// Without input the resampler gives what it holds back for the sound that might follow.
void StreamConverter::resample(const float* const* input, std::uint32_t frames) {
    std::vector<const std::uint8_t*> bytes;
    for (std::size_t i = 0; input != nullptr && i < _channels; ++i)
        bytes.push_back(reinterpret_cast<const std::uint8_t*>(input[i]));
    std::vector<std::uint8_t*> places;
    for (float* place : _outputPlaces) places.push_back(reinterpret_cast<std::uint8_t*>(place));
    const std::uint8_t** from = bytes.empty() ? nullptr : bytes.data();
    for (;;) {
        const int made =
            checkLibav(swr_convert(_resampler.get(), places.data(), kOutputFrames, from, static_cast<int>(frames)),
                       "could not convert the sample rate");
        if (made == 0) return;
        emit(static_cast<std::uint32_t>(std::min<std::uint64_t>(static_cast<std::uint64_t>(made), framesOwed())));
        // Once it has its input, it is asked for the rest with none, which must not be taken for the end.
        if (static_cast<std::uint32_t>(made) < kOutputFrames) return;
        if (from != nullptr) frames = 0;
    }
}

void StreamConverter::emit(std::uint32_t frames) {
    if (frames > 0) _sink(_outputPlaces.data(), frames);
    _made += frames;
}

void StreamConverter::padWithSilence() {
    for (auto& channel : _output) std::fill(channel.begin(), channel.end(), 0.0F);
    while (framesOwed() > 0) emit(static_cast<std::uint32_t>(std::min<std::uint64_t>(framesOwed(), kOutputFrames)));
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioDevice.h"

namespace zelvane {

/// The device "null": always there, takes sound at the pace of the monotonic clock and drops it. Time goes on on it, so
/// what was to be played meanwhile ends in time.
class NullBackEnd final : public AudioDeviceBackEnd {
  public:
    static constexpr std::uint32_t kSmallestPeriod = 16;
    static constexpr std::uint32_t kLargestPeriod = 8192;

    explicit NullBackEnd(std::uint32_t sampleRate = 48000, std::uint32_t channels = 2)
        : _sampleRate(sampleRate), _channels(channels) {}

    std::string_view name() const override { return "null"; }
    std::vector<AudioDeviceInfo> devices() override;
    std::unique_ptr<AudioStream> open(const std::string& deviceName, const AudioStreamWish& wish,
                                      Error& error) override;

  private:
    AudioDeviceFormat format(std::uint32_t periodFrames) const;

    const std::uint32_t _sampleRate;
    const std::uint32_t _channels;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioDevice.h"

#include <memory>
#include <string>
#include <vector>

namespace zelvane {

/// A back end whose devices never ask for sound: the test renders the graph itself.
class StillBackEnd final : public AudioDeviceBackEnd {
  public:
    explicit StillBackEnd(std::vector<std::string> names = {"still"}, AudioDeviceFormat format = {})
        : _names(std::move(names)), _format(format) {}

    std::string_view name() const override { return "Still"; }

    std::vector<AudioDeviceInfo> devices() override {
        std::vector<AudioDeviceInfo> all;
        for (const auto& name : _names) all.push_back({name, _format, all.empty()});
        return all;
    }

    std::unique_ptr<AudioStream> open(const std::string&, const AudioStreamWish&, Error&) override {
        return std::make_unique<Stream>(_format);
    }

  private:
    class Stream final : public AudioStream {
      public:
        explicit Stream(const AudioDeviceFormat& format) : _format(format) {}
        AudioDeviceFormat format() const override { return _format; }
        bool start(AudioRenderer&) override { return true; }
        AudioStreamState state() const override { return AudioStreamState::alive; }
        std::uint64_t xruns() const override { return 0; }

      private:
        const AudioDeviceFormat _format;
    };

    const std::vector<std::string> _names;
    const AudioDeviceFormat _format;
};

}  // namespace zelvane

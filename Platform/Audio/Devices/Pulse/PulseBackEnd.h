// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioDevice.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zelvane {

class PulseConnection;
struct PulseSink;

/// PulseAudio: its own server's, or PipeWire's. Every sink is a device, named by its description.
class PulseBackEnd final : public AudioDeviceBackEnd {
  public:
    PulseBackEnd();
    ~PulseBackEnd() override;

    std::string_view name() const override { return "PulseAudio"; }
    std::vector<AudioDeviceInfo> devices() override;
    std::unique_ptr<AudioStream> open(const std::string& deviceName, const AudioStreamWish& wish,
                                      Error& error) override;

  private:
    using NamedSink = std::pair<std::string, PulseSink>;

    bool isConnected();
    static std::vector<NamedSink> namedSinks(PulseConnection& connection);

    std::unique_ptr<PulseConnection> _listing;
    std::optional<TimePoint> _failedAt;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioDevice.h"
#include "Platform/Jack/JackPresence.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zelvane {

class JackClient;
class JackLibraries;
class JackWiring;

/// JACK: its own server's, or PipeWire's. Every client with physical inputs is a device.
class JackBackEnd final : public AudioDeviceBackEnd {
  public:
    explicit JackBackEnd(JackPresence presence = {});
    ~JackBackEnd() override;

    std::string_view name() const override { return "JACK"; }
    bool takesPeriodWish() const override { return false; }
    std::vector<AudioDeviceInfo> devices() override;
    std::unique_ptr<AudioStream> open(const std::string& deviceName, const AudioStreamWish& wish,
                                      Error& error) override;

  private:
    struct Sink {
        std::string deviceName;
        std::string client;
    };

    std::shared_ptr<JackWiring> wiringFor(const std::string& deviceName);
    bool isDeadClientLeft();
    std::shared_ptr<JackClient> listingClient();
    std::shared_ptr<JackClient> openClient(Duration interval);
    static std::vector<Sink> sinks(const JackClient& client);

    const JackPresence _presence;
    const std::unique_ptr<JackLibraries> _libraries;
    std::shared_ptr<JackClient> _idle;    // kept for listing, and for the next stream
    std::weak_ptr<JackClient> _playing;   // the open stream's
    std::shared_ptr<JackWiring> _wiring;  // of the device opened last
    std::optional<std::string> _lastDevice;
    std::optional<TimePoint> _failedAt;
};

}  // namespace zelvane

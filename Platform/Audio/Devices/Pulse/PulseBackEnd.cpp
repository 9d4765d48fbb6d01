// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Pulse/PulseBackEnd.h"

#include "Platform/Audio/Devices/DeviceName.h"
#include "Platform/Audio/Devices/Pulse/PulseConnection.h"
#include "Platform/Audio/Devices/Pulse/PulseStream.h"

#include <algorithm>

namespace zelvane {

namespace {

constexpr Duration kRetryInterval = std::chrono::milliseconds(450);
constexpr Duration kAnswerLimit = std::chrono::seconds(1);

}  // namespace

PulseBackEnd::PulseBackEnd() = default;

PulseBackEnd::~PulseBackEnd() = default;

std::vector<AudioDeviceInfo> PulseBackEnd::devices() {
    if (!isConnected()) return {};
    std::vector<AudioDeviceInfo> devices;
    for (const auto& [name, sink] : namedSinks(*_listing)) {
        devices.push_back({.name = name,
                           .format = {.sampleRate = double(sink.sampleRate),
                                      .channels = sink.channels,
                                      .periodFrames = AudioStreamWish().periodFrames,
                                      .bitsPerChannel = sink.bitsPerChannel},
                           .isDefault = sink.isDefault});
    }
    return devices;
}

/// Each stream has a connection of its own: its thread renders and should do nothing else.
std::unique_ptr<AudioStream> PulseBackEnd::open(const std::string& deviceName, const AudioStreamWish& wish,
                                                Error& error) {
    std::unique_ptr<PulseConnection> connection = PulseConnection::open(kAnswerLimit);
    if (!connection) {
        error = {"AudioDevice", 1, "no PulseAudio server is running"};
        return nullptr;
    }
    const std::vector<NamedSink> sinks = namedSinks(*connection);
    const auto found = std::ranges::find_if(sinks, [&](const NamedSink& named) {
        return deviceName.empty() ? named.second.isDefault : named.first == deviceName;
    });
    if (found == sinks.end()) {
        error = {"AudioDevice", 2, sinks.empty() ? "PulseAudio has no output device" : "there is no such device"};
        return nullptr;
    }
    return std::make_unique<PulseStream>(std::move(connection), found->second, deviceName.empty(), wish.periodFrames);
}

bool PulseBackEnd::isConnected() {
    if (_listing) {
        const PulseConnection::Lock lock(*_listing);
        if (_listing->isAlive()) return true;
    }
    _listing.reset();
    const TimePoint now = Clock::monotonic().now();
    if (_failedAt && now - *_failedAt < kRetryInterval) return false;
    _listing = PulseConnection::open(kAnswerLimit);
    _failedAt = _listing ? std::nullopt : std::optional(now);
    return _listing != nullptr;
}

std::vector<PulseBackEnd::NamedSink> PulseBackEnd::namedSinks(PulseConnection& connection) {
    const PulseConnection::Lock lock(connection);
    std::vector<NamedSink> sinks;
    std::vector<std::string> names;
    for (PulseSink& sink : connection.sinks(kAnswerLimit)) {
        names.push_back(uniqueDeviceName("PulseAudio", sink.description, names));
        sinks.emplace_back(names.back(), std::move(sink));
    }
    return sinks;
}

}  // namespace zelvane

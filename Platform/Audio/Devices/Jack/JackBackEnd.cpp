// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Jack/JackBackEnd.h"

#include "Platform/Audio/Devices/DeviceName.h"
#include "Platform/Audio/Devices/Jack/JackSinks.h"
#include "Platform/Audio/Devices/Jack/JackStream.h"
#include "Platform/Audio/Devices/Jack/JackWiring.h"
#include "Platform/Jack/JackLibraries.h"

#include <algorithm>

namespace zelvane {

namespace {

/// How often a server that is not there is looked for, however often it is asked for. Each look costs some milliseconds
/// of the processor's time, so a list that is kept up to date for ever looks less often than a stream that is wanted.
constexpr Duration kOpenInterval = std::chrono::milliseconds(450);
constexpr Duration kListInterval = std::chrono::milliseconds(1900);

Error failure(int code, std::string reason) {
    return {"AudioDevice", code, std::move(reason)};
}

}  // namespace

JackBackEnd::JackBackEnd(JackPresence presence)
    : _presence(std::move(presence)),
      _libraries(std::make_unique<JackLibraries>()),
      _wiring(std::make_shared<JackWiring>()) {}

JackBackEnd::~JackBackEnd() = default;

std::vector<AudioDeviceInfo> JackBackEnd::devices() {
    const std::shared_ptr<JackClient> client = listingClient();
    if (!client) return {};
    const auto& library = client->library();
    std::vector<AudioDeviceInfo> devices;
    for (const Sink& sink : sinks(*client)) {
        const auto channels = static_cast<std::uint32_t>(jackInputs(*client, sink.client).size());
        const AudioDeviceFormat format{.sampleRate = double(library.sampleRate(client->handle())),
                                       .channels = channels,
                                       .periodFrames = library.bufferSize(client->handle()),
                                       .bitsPerChannel = 32};
        devices.push_back({.name = sink.deviceName, .format = format, .isDefault = devices.empty()});
    }
    return devices;
}

std::unique_ptr<AudioStream> JackBackEnd::open(const std::string& deviceName, const AudioStreamWish&, Error& error) {
    if (isDeadClientLeft()) {
        error = failure(3, "the connection to the JACK server that ended is not closed yet");
        return nullptr;
    }
    if (!_idle || _idle->isDead()) _idle = openClient(kOpenInterval);
    if (!_idle) {
        error = failure(1, "no JACK server is running");
        return nullptr;
    }
    const std::vector<Sink> all = sinks(*_idle);
    const auto sink = std::ranges::find(all, deviceName, &Sink::deviceName);
    if (all.empty() || (!deviceName.empty() && sink == all.end())) {
        error = failure(2, all.empty() ? "JACK has no output device" : "there is no such device");
        return nullptr;
    }
    _playing = _idle;
    return std::make_unique<JackStream>(std::move(_idle), deviceName.empty() ? std::string() : sink->client,
                                        wiringFor(deviceName), _presence.throughput);
}

/// Whoever chooses another device wants to hear it. At the start the default comes first and then what was stored, and
/// neither is a choice.
std::shared_ptr<JackWiring> JackBackEnd::wiringFor(const std::string& deviceName) {
    const bool isFirst = !_lastDevice;
    if (_lastDevice == deviceName) return _wiring;
    _lastDevice = deviceName;
    _wiring = std::make_shared<JackWiring>();
    if (!_presence.connectsAtStart && (isFirst || !_presence.hasStarted->load()))
        _wiring->setUsers(JackWiring::Wires());
    return _wiring;
}

bool JackBackEnd::isDeadClientLeft() {
    if (_idle && _idle->isDead()) _idle.reset();
    return JackClient::isAnyDeadLeft();
}

std::shared_ptr<JackClient> JackBackEnd::listingClient() {
    if (std::shared_ptr<JackClient> playing = _playing.lock(); playing && !playing->isDead()) return playing;
    if (isDeadClientLeft()) return nullptr;
    if (!_idle || _idle->isDead()) _idle = openClient(kListInterval);
    return _idle;
}

std::shared_ptr<JackClient> JackBackEnd::openClient(Duration interval) {
    const TimePoint now = Clock::monotonic().now();
    if (_failedAt && now - *_failedAt < interval) return nullptr;
    _failedAt = now;
    std::shared_ptr<JackClient> client = _libraries->openClient(_presence.clientName.c_str());
    if (client) _failedAt.reset();
    return client;
}

std::vector<JackBackEnd::Sink> JackBackEnd::sinks(const JackClient& client) {
    std::vector<Sink> sinks;
    std::vector<std::string> names;
    for (std::string& sink : jackSinks(client)) {
        names.push_back(uniqueDeviceName("JACK", sink, names));
        sinks.push_back({names.back(), std::move(sink)});
    }
    return sinks;
}

}  // namespace zelvane

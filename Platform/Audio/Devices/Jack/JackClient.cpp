// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Jack/JackClient.h"

#include <signal.h>
#include <time.h>

#include <algorithm>

namespace zelvane {

namespace {

constexpr const char* kClientName = "Zelvane";

sigset_t brokenPipe() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    return signals;
}

}  // namespace

ScopedBrokenPipeBlock::ScopedBrokenPipeBlock() {
    const sigset_t signals = brokenPipe();
    sigset_t former;
    pthread_sigmask(SIG_BLOCK, &signals, &former);
    _wasBlocked = sigismember(&former, SIGPIPE) == 1;
}

ScopedBrokenPipeBlock::~ScopedBrokenPipeBlock() {
    if (_wasBlocked) return;
    // One that came meanwhile must not strike as soon as it is let through.
    const sigset_t signals = brokenPipe();
    const timespec atOnce{};
    while (sigtimedwait(&signals, nullptr, &atOnce) > 0) {
    }
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

std::unique_ptr<JackClient> JackClient::open(const JackLibrary& library) {
    const ScopedBrokenPipeBlock block;
    jack_client_t* client = library.clientOpen(kClientName, JackNoStartServer, nullptr);
    if (client == nullptr) return nullptr;
    return std::unique_ptr<JackClient>(new JackClient(library, client));
}

JackClient::JackClient(const JackLibrary& library, jack_client_t* client) : _library(library), _client(client) {
    // Which of the two is called depends on the library and the way the server ends; both may be.
    library.onShutdown(
        client, [](void* self) { static_cast<JackClient*>(self)->_isDead.store(true, std::memory_order_relaxed); },
        this);
    library.onInfoShutdown(
        client,
        [](jack_status_t, const char*, void* self) {
            static_cast<JackClient*>(self)->_isDead.store(true, std::memory_order_relaxed);
        },
        this);
}

JackClient::~JackClient() {
    const ScopedBrokenPipeBlock block;
    _library.clientClose(_client);
}

std::vector<std::string> JackClient::sinks() const {
    std::vector<std::string> sinks;
    for (Input& input : physicalInputs()) {
        if (std::ranges::find(sinks, input.sink) == sinks.end()) sinks.push_back(std::move(input.sink));
    }
    return sinks;
}

std::vector<std::string> JackClient::inputs(const std::string& sink) const {
    std::vector<std::string> ports;
    for (Input& input : physicalInputs()) {
        if (input.sink == sink) ports.push_back(std::move(input.port));
    }
    return ports;
}

std::vector<JackClient::Input> JackClient::physicalInputs() const {
    std::vector<Input> inputs;
    const ScopedBrokenPipeBlock block;
    const char** names =
        isDead() ? nullptr
                 : _library.ports(_client, nullptr, JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput | JackPortIsPhysical);
    if (names == nullptr) return inputs;
    for (const char** name = names; *name != nullptr; ++name) inputs.push_back({ownerOf(*name), *name});
    _library.free(names);
    return inputs;
}

/// What stands before the port's short name: a colon may stand in either.
std::string JackClient::ownerOf(const std::string& portName) const {
    const jack_port_t* port = _library.portByName(_client, portName.c_str());
    const char* shortName = port != nullptr ? _library.portShortName(port) : nullptr;
    const std::string ending = ":" + std::string(shortName != nullptr ? shortName : "");
    if (shortName != nullptr && portName.ends_with(ending)) return portName.substr(0, portName.size() - ending.size());
    return portName.substr(0, portName.find(':'));
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Jack/JackMIDIClient.h"

#include "Platform/Foundation/Utf8.h"
#include "Platform/Jack/ScopedBrokenPipeBlock.h"
#include "Platform/Jack/Uncancelled.h"

#include <cerrno>
#include <cstring>
#include <utility>

namespace zelvane {

namespace {

constexpr int kAttempts = 100;  // at a name that is free

JackMIDIClient::News::Kind kindOf(int isNew) {
    return isNew != 0 ? JackMIDIClient::News::Kind::portCame : JackMIDIClient::News::Kind::portWent;
}

}  // namespace

std::unique_ptr<JackMIDIClient> JackMIDIClient::open(JackLibraries& libraries, const JackPresence& presence,
                                                     JackMIDIQueues& queues, WakeUp& whenDead) {
    std::unique_ptr<JackClient> jack = libraries.openClient(presence.midiClientName.c_str(), &whenDead);
    if (!jack) return nullptr;
    std::unique_ptr<JackMIDIClient> client(new JackMIDIClient(std::move(jack), presence.throughput, queues));
    return client->activate() ? std::move(client) : nullptr;
}

JackMIDIClient::JackMIDIClient(std::unique_ptr<JackClient> client, std::shared_ptr<JackThroughput> throughput,
                               JackMIDIQueues& queues)
    : _client(std::move(client)),
      _library(_client->library()),
      _queues(queues),
      _process(*_client, queues),
      _throughput(std::move(throughput)),
      _latencies(*_client) {
    setCallbacks();
}

JackMIDIClient::~JackMIDIClient() {
    const ScopedBrokenPipeBlock block;
    if (_isIconSet) removeProperties();
    if (_isActive) _library.deactivate(_client->handle());
    _throughput->setAgeOfMessages({});
    if (isDead()) return;
    // PipeWire's library keeps the memory of ports that are left to the closing of their client.
    for (const auto& input : _ports.inputs) _library.portUnregister(_client->handle(), input.port);
    for (const auto& output : _ports.outputs) _library.portUnregister(_client->handle(), output.port);
}

bool JackMIDIClient::activate() {
    const ScopedBrokenPipeBlock block;
    _isActive = _library.activate(_client->handle()) == 0;
    return _isActive;
}

void JackMIDIClient::upkeep() {
    _process.measureClock();
    if (!std::exchange(_isIconSet, true)) _client->setIcon();
}

void JackMIDIClient::removeProperties() {
    _client->removeIcon();
    const auto remove = [this](const jack_port_t* port) {
        if (const auto uuid = _client->uuidOf(port)) _client->removeProperties(*uuid);
    };
    for (const auto& input : _ports.inputs) remove(input.port);
    for (const auto& output : _ports.outputs) remove(output.port);
}

std::vector<jack_port_t*> JackMIDIClient::inputs() {
    const std::lock_guard lock(_inputsMutex);
    return _inputs;
}

void JackMIDIClient::setCallbacks() {
    _latencies.setHandlers(
        {.capture = [this] { _throughput->setAgeOfMessages(_latencies.range(inputs(), JackCaptureLatency)); },
         .playback =
             [this] {
                 const auto ahead = _throughput->timeToSound().value_or(JackThroughput::Range());
                 _latencies.setRange(inputs(), JackPlaybackLatency, ahead);
             }});
    _library.setPortRegistrationCallback(
        _client->handle(),
        [](jack_port_id_t port, int isNew, void* self) {
            static_cast<JackMIDIClient*>(self)->add({kindOf(isNew), port});
        },
        this);
    _library.setPortConnectCallback(
        _client->handle(),
        [](jack_port_id_t port, jack_port_id_t other, int isConnected, void* self) {
            const auto kind = isConnected != 0 ? News::Kind::connected : News::Kind::disconnected;
            static_cast<JackMIDIClient*>(self)->add({kind, port, other});
        },
        this);
    if (_library.setPortRenameCallback == nullptr) return;
    _library.setPortRenameCallback(
        _client->handle(),
        [](jack_port_id_t port, const char*, const char*, void* self) {
            static_cast<JackMIDIClient*>(self)->add({News::Kind::portRenamed, port});
        },
        this);
}

/// A thread of the library, which the server may be waiting for.
void JackMIDIClient::add(const News& news) {
    uncancelled([&] {
        const std::lock_guard lock(_newsMutex);
        _news.push_back(news);
        _queues.midiThread.post();
    });
}

std::vector<JackMIDIClient::News> JackMIDIClient::takeNews() {
    const std::lock_guard lock(_newsMutex);
    return std::exchange(_news, {});
}

jack_port_t* JackMIDIClient::addInput(MIDILineID line, const std::string& name) {
    jack_port_t* port = registerPort(name, JackPortIsInput);
    if (port == nullptr) return nullptr;
    JackMIDIProcess::Ports ports = _ports;
    ports.inputs.push_back({line, port});
    publish(std::move(ports));
    return port;
}

jack_port_t* JackMIDIClient::addOutput(std::uint32_t number, const std::string& name) {
    jack_port_t* port = registerPort(name, JackPortIsOutput);
    if (port == nullptr) return nullptr;
    JackMIDIProcess::Ports ports = _ports;
    ports.outputs.push_back({number, port});
    publish(std::move(ports));
    return port;
}

void JackMIDIClient::remove(jack_port_t* port) {
    JackMIDIProcess::Ports ports = _ports;
    std::erase_if(ports.inputs, [port](const auto& each) { return each.port == port; });
    std::erase_if(ports.outputs, [port](const auto& each) { return each.port == port; });
    publish(std::move(ports));
    const ScopedBrokenPipeBlock block;
    const auto turn = _client->turnToAsk();
    if (!isDead()) _library.portUnregister(_client->handle(), port);
}

void JackMIDIClient::publish(JackMIDIProcess::Ports ports) {
    _process.setPorts(std::make_unique<JackMIDIProcess::Ports>(ports));
    _ports = std::move(ports);
    const std::lock_guard lock(_inputsMutex);
    _inputs.clear();
    for (const auto& input : _ports.inputs) _inputs.push_back(input.port);
}

jack_port_t* JackMIDIClient::registerPort(const std::string& name, JackPortFlags direction) const {
    const ScopedBrokenPipeBlock block;
    const auto turn = _client->turnToAsk();
    jack_port_t* port = nullptr;
    for (int attempt = 1; attempt <= kAttempts && port == nullptr && !isDead(); ++attempt) {
        port = _library.portRegister(_client->handle(), shortName(name, attempt).c_str(), JACK_DEFAULT_MIDI_TYPE,
                                     static_cast<unsigned long>(direction) | JackPortIsTerminal, 0);
    }
    return port;
}

bool JackMIDIClient::rename(jack_port_t* port, const std::string& name) const {
    const ScopedBrokenPipeBlock block;
    const auto turn = _client->turnToAsk();
    if (_library.portRename == nullptr) return false;
    for (int attempt = 1; attempt <= kAttempts && !isDead(); ++attempt) {
        if (_library.portRename(_client->handle(), port, shortName(name, attempt).c_str()) == 0) return true;
    }
    return false;
}

/// As long as it may be together with the client's, a colon and a final zero.
std::string JackMIDIClient::shortName(const std::string& name, int attempt) const {
    const std::string number = attempt > 1 ? " " + std::to_string(attempt) : std::string();
    const std::size_t taken = std::strlen(_library.clientName(_client->handle())) + 2 + number.size();
    const auto longest = static_cast<std::size_t>(_library.portNameSize());
    return cutToBytes(name.empty() ? "MIDI" : name, longest - taken) + number;
}

bool JackMIDIClient::connect(const std::string& source, const std::string& destination) const {
    const ScopedBrokenPipeBlock block;
    const auto turn = _client->turnToAsk();
    const int status = isDead() ? -1 : _library.connect(_client->handle(), source.c_str(), destination.c_str());
    return status == 0 || status == EEXIST;
}

}  // namespace zelvane

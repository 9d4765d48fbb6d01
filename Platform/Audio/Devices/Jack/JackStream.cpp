// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Jack/JackStream.h"

#include "Platform/Audio/FlushToZero.h"
#include "Platform/Audio/RealtimeScope.h"
#include "Platform/Foundation/Thread.h"
#include "Platform/Jack/ScopedBrokenPipeBlock.h"
#include "Platform/Jack/Uncancelled.h"

#include <algorithm>

namespace zelvane {

namespace {

constexpr Duration kUpkeepInterval = std::chrono::milliseconds(200);
constexpr std::size_t kMostFrames = 8192;  // in a cycle of a server that is set up as usual

struct PortName {
    const char* name;
    const char* pretty;
};
// Patchbays and their saved sessions know ports by these names.
constexpr std::array<PortName, 2> kPortNames = {{{"out_left", "Left"}, {"out_right", "Right"}}};

AudioDeviceFormat formatOf(const JackClient& client) {
    return {.sampleRate = double(client.library().sampleRate(client.handle())),
            .channels = kPortNames.size(),
            .periodFrames = client.library().bufferSize(client.handle()),
            .bitsPerChannel = 32};
}

/// After an xrun a server goes on with the next frame, but later than it had promised.
double distance(jack_time_t one, jack_time_t other) {
    return double(std::max(one, other) - std::min(one, other));
}

JackStream& self(void* argument) {
    return *static_cast<JackStream*>(argument);
}

}  // namespace

JackStream::JackStream(std::shared_ptr<JackClient> client, const std::string& sink, std::shared_ptr<JackWiring> wiring,
                       std::shared_ptr<JackThroughput> throughput)
    : _client(std::move(client)),
      _library(_client->library()),
      _format(formatOf(*_client)),
      _throughput(std::move(throughput)),
      _latencies(*_client),
      _connections(*_client, sink, std::move(wiring)) {
    for (auto& sound : _sound) sound.resize(kMostFrames);
}

JackStream::~JackStream() {
    {
        const std::lock_guard lock(_mutex);
        _isStopping = true;
    }
    _wakeUp.notify_all();
    if (_upkeep.joinable()) _upkeep.join();
    const ScopedBrokenPipeBlock block;
    if (_isActive) removeProperties();
    if (_isActive) _library.deactivate(_client->handle());
    _throughput->setTimeToSound({});
    if (_client->isDead()) return;
    // PipeWire's library keeps the memory of ports that are left to the closing of their client.
    for (jack_port_t* port : _ports) {
        if (port != nullptr) _library.portUnregister(_client->handle(), port);
    }
}

bool JackStream::start(AudioRenderer& renderer) {
    const ScopedBrokenPipeBlock block;
    _renderer = &renderer;
    if (!registerPorts()) return false;
    setCallbacks();
    _clock.measure(_library);
    _watchdog.start(Clock::monotonic().now());
    if (_library.activate(_client->handle()) != 0) return false;
    _isActive = true;
    _connections.update(Clock::monotonic().now(), false);
    _upkeep = startThread("JACK upkeep", ThreadRole::ordinary, [this] { upkeep(); });
    return true;
}

AudioStreamState JackStream::state() const {
    if (_client->isDead() || _isSinkLost.load(std::memory_order_relaxed)) return AudioStreamState::lost;
    if (_isActive && _watchdog.isOverdue(Clock::monotonic().now())) return AudioStreamState::lost;
    return _hasOtherRate.load(std::memory_order_relaxed) ? AudioStreamState::formatChanged : AudioStreamState::alive;
}

bool JackStream::registerPorts() {
    for (std::size_t i = 0; i < _ports.size(); ++i) {
        _ports[i] = _library.portRegister(_client->handle(), kPortNames[i].name, JACK_DEFAULT_AUDIO_TYPE,
                                          JackPortIsOutput | JackPortIsTerminal, 0);
        if (_ports[i] == nullptr) return false;
    }
    _connections.setOutputs(_ports);
    return true;
}

void JackStream::setCallbacks() {
    jack_client_t* client = _client->handle();
    _latencies.setHandlers({.capture = [this] { tellAgeOfSound(); }, .playback = [this] { tellTimeToSound(); }});
    _library.setProcessCallback(client, processUncancelled<&JackStream::process, JackStream>, this);
    _library.setSampleRateCallback(
        client,
        [](jack_nframes_t rate, void* argument) {
            if (double(rate) != self(argument)._format.sampleRate) self(argument)._hasOtherRate.store(true);
            return 0;
        },
        this);
    _library.setXrunCallback(
        client,
        [](void* argument) {
            self(argument)._xruns.fetch_add(1, std::memory_order_relaxed);
            return 0;
        },
        this);
    _library.setFreewheelCallback(
        client, [](int isFree, void* argument) { self(argument)._isFreewheeling.store(isFree != 0); }, this);
    _library.setPortRegistrationCallback(
        client,
        [](jack_port_id_t, int isNew, void* argument) {
            if (isNew == 0) self(argument)._havePortsGone.store(true);
        },
        this);
}

/// Our sound is as old as the messages that it was made of: as they were when they came, and as long as they are held
/// back, so that they sound in even time. What comes over OSC or ALSA is new when it comes.
void JackStream::tellAgeOfSound() {
    const auto age = _throughput->ageOfMessages() + _renderer->latencyFrames(_library.bufferSize(_client->handle()));
    _latencies.setRange(_ports, JackCaptureLatency, age);
}

void JackStream::tellTimeToSound() {
    const auto ahead = _latencies.range(_ports, JackPlaybackLatency);
    _throughput->setTimeToSound(ahead + _renderer->latencyFrames(_library.bufferSize(_client->handle())));
}

int JackStream::process(jack_nframes_t frames) noexcept {
    const ScopedFlushToZero flushToZero;
    const RealtimeScope realtime;
    const AudioCycle now = cycle(frames);
    _watchdog.cycleCame(Clock::monotonic().now());
    play(now);
    handOver(frames);
    return 0;
}

// Cycles of a freewheeling server follow each other as fast as they can be had: nothing that is played in time can be
// meant to be in them.
void JackStream::play(const AudioCycle& cycle) noexcept {
    if (_isFreewheeling.load(std::memory_order_relaxed)) {
        for (float* output : cycle.outputs) std::fill_n(output, cycle.frames, 0.0F);
    } else {
        _renderer->render(cycle);
    }
}

// When its quantum changes, PipeWire takes the memory of ports back also from a cycle that is under way: so it is asked
// for last, and written to in no time.
void JackStream::handOver(jack_nframes_t frames) noexcept {
    if (frames > kMostFrames) return;
    for (std::size_t i = 0; i < _ports.size(); ++i) {
        auto* port = static_cast<float*>(_library.portBuffer(_ports[i], frames));
        if (port != nullptr) std::copy_n(_sound[i].data(), frames, port);
    }
}

AudioCycle JackStream::cycle(jack_nframes_t frames) noexcept {
    for (std::size_t i = 0; i < _ports.size(); ++i) {
        _outputs[i] =
            frames <= kMostFrames ? _sound[i].data() : static_cast<float*>(_library.portBuffer(_ports[i], frames));
    }
    jack_nframes_t frame = 0;
    jack_time_t start = 0;
    jack_time_t next = 0;
    float period = 0;
    const bool isTold = _library.cycleTimes(_client->handle(), &frame, &start, &next, &period) == 0;
    if (!isTold) start = _library.time();
    const double leap = _expected ? distance(_expected->start, start) : 0;
    const bool isDiscontinuous = _expected && (_expected->frame != frame || leap > double(period) / 2);
    // A server that foretells each start to the microsecond has smoothed them itself: to do so again would only lag.
    const bool isExact = _expected && !isDiscontinuous && leap <= 1;
    _expected.reset();
    if (isTold) _expected = Expectation{frame + frames, next};
    return {.start = _clock.timePoint(start),
            .startIsExact = isExact,
            .isDiscontinuous = isDiscontinuous,
            .frames = frames,
            .periodFrames = frames,
            .outputs = _outputs};
}

void JackStream::upkeep() {
    const ScopedBrokenPipeBlock block;
    setProperties();
    while (waitForNextUpkeep() && !_client->isDead()) upkeepOnce();
}

void JackStream::upkeepOnce() {
    _connections.update(Clock::monotonic().now(), _havePortsGone.exchange(false));
    _isSinkLost.store(_connections.isSinkLost(), std::memory_order_relaxed);
    _clock.measure(_library);
}

bool JackStream::waitForNextUpkeep() {
    std::unique_lock lock(_mutex);
    return !_wakeUp.wait_for(lock, kUpkeepInterval, [this] { return _isStopping; });
}

void JackStream::setProperties() {
    _client->setIcon();
    for (std::size_t i = 0; i < _ports.size(); ++i) {
        const auto port = _client->uuidOf(_ports[i]);
        if (!port) continue;
        _client->setPrettyName(*port, kPortNames[i].pretty);
        _client->setOrder(*port, int(i) + 1);
    }
}

void JackStream::removeProperties() {
    _client->removeIcon();
    for (const jack_port_t* each : _ports) {
        if (const auto port = _client->uuidOf(each)) _client->removeProperties(*port);
    }
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioDevice.h"
#include "Platform/Audio/Devices/CycleWatchdog.h"
#include "Platform/Audio/Devices/Jack/JackConnections.h"
#include "Platform/Jack/JackClient.h"
#include "Platform/Jack/JackClock.h"
#include "Platform/Jack/JackLatencies.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace zelvane {

/// Two ports of a JACK client, rendered in the server's cycles. The server's period is followed as it comes; another
/// sample rate ends the stream.
class JackStream final : public AudioStream {
  public:
    /// `sink` is the client whose physical inputs are to be played on, or empty for the server's default.
    JackStream(std::shared_ptr<JackClient> client, const std::string& sink, std::shared_ptr<JackWiring> wiring,
               std::shared_ptr<JackThroughput> throughput);
    ~JackStream() override;

    AudioDeviceFormat format() const override { return _format; }
    bool start(AudioRenderer& renderer) override;
    AudioStreamState state() const override;
    std::uint64_t xruns() const override { return _xruns.load(std::memory_order_relaxed); }

  private:
    /// What the next cycle begins with unless something is lost.
    struct Expectation {
        jack_nframes_t frame = 0;
        jack_time_t start = 0;
    };

    bool registerPorts();
    void setCallbacks();
    int process(jack_nframes_t frames) noexcept;
    AudioCycle cycle(jack_nframes_t frames) noexcept;
    void play(const AudioCycle& cycle) noexcept;
    void handOver(jack_nframes_t frames) noexcept;
    void setProperties();
    void removeProperties();
    void tellAgeOfSound();
    void tellTimeToSound();
    void upkeep();
    void upkeepOnce();
    bool waitForNextUpkeep();

    const std::shared_ptr<JackClient> _client;  // the back end looks for devices through it meanwhile
    const JackLibrary& _library;
    const AudioDeviceFormat _format;
    AudioRenderer* _renderer = nullptr;
    bool _isActive = false;
    std::array<jack_port_t*, 2> _ports{};

    // Audio thread.
    std::array<std::vector<float>, 2> _sound;  // of a cycle, unless it is longer
    std::array<float*, 2> _outputs{};
    std::optional<Expectation> _expected;

    JackClock _clock;
    CycleWatchdog _watchdog{std::chrono::seconds(2)};
    std::atomic<bool> _isFreewheeling{false};  // written by a thread of the library, read by the audio thread
    std::atomic<bool> _hasOtherRate{false};    // written by a thread of the library, read by any
    std::atomic<bool> _havePortsGone{false};   // written by a thread of the library, taken by the upkeep
    std::atomic<bool> _isSinkLost{false};      // written by the upkeep, read by any
    std::atomic<std::uint64_t> _xruns{0};      // written by a thread of the library, read by any

    const std::shared_ptr<JackThroughput> _throughput;
    JackLatencies _latencies;      // upkeep; its handlers are called by a thread of the library
    JackConnections _connections;  // upkeep
    std::mutex _mutex;
    std::condition_variable _wakeUp;
    bool _isStopping = false;  // guarded by _mutex
    std::jthread _upkeep;
};

}  // namespace zelvane

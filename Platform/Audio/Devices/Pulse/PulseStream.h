// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioDevice.h"
#include "Platform/Audio/Devices/CycleWatchdog.h"
#include "Platform/Audio/Devices/Pulse/PulseConnection.h"
#include "Platform/Audio/Devices/Pulse/PulseCycleClock.h"

#include <array>
#include <atomic>
#include <memory>
#include <vector>

namespace zelvane {

/// A stereo stream that renders when the server asks for more; the server mixes it to whatever channels its sink has.
/// One made for the default moves with it, one made for a sink ends with that sink.
class PulseStream final : public AudioStream {
  public:
    PulseStream(std::unique_ptr<PulseConnection> connection, const PulseSink& sink, bool followsDefault,
                std::uint32_t periodFrames);
    ~PulseStream() override;

    AudioDeviceFormat format() const override { return _format; }
    bool start(AudioRenderer& renderer) override;
    AudioStreamState state() const override;
    std::uint64_t xruns() const override { return _xruns.load(std::memory_order_relaxed); }

  private:
    bool connect();
    void setCallbacks();
    void watchSinks();
    bool waitUntilReady();

    // Serving thread, which is the audio thread here.
    void stateChanged();
    void moved();
    void askForSinkRate();
    void write(std::size_t bytes) noexcept;
    std::uint64_t leaveOut(std::uint64_t frames) noexcept;
    void renderSlices(std::uint64_t frames, const PulseCycleClock::Answer& answer, bool isDiscontinuous) noexcept;
    std::uint32_t renderSlice(std::uint64_t frames, TimePoint start, bool isDiscontinuous) noexcept;

    const std::unique_ptr<PulseConnection> _connection;
    const PulseSink _sink;
    const bool _followsDefault;
    const AudioDeviceFormat _format;
    AudioRenderer* _renderer = nullptr;
    pa_stream* _stream = nullptr;

    // Audio thread.
    PulseCycleClock _clock;
    std::uint64_t _written = 0;
    std::vector<float> _samples;
    std::array<float*, 2> _outputs{};

    // An idle sink of the server's own may first play out the two seconds of silence that it has in store.
    CycleWatchdog _watchdog{std::chrono::seconds(4)};
    std::atomic<bool> _isLost{false};        // written by the serving thread, read by any
    std::atomic<bool> _hasOtherRate{false};  // written by the serving thread, read by any
    std::atomic<std::uint64_t> _xruns{0};    // written by the serving thread, read by any
};

}  // namespace zelvane

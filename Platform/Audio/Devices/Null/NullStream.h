// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioDevice.h"

#include <atomic>
#include <thread>
#include <vector>

namespace zelvane {

/// A stream paced by absolute deadlines, so that it neither drifts nor jitters: frame n is due at exactly the start
/// plus n frames, rounded once.
class NullStream final : public AudioStream {
  public:
    /// Whole sample rates only.
    explicit NullStream(const AudioDeviceFormat& format);
    ~NullStream() override;

    AudioDeviceFormat format() const override { return _format; }
    bool start(AudioRenderer& renderer) override;
    AudioStreamState state() const override { return AudioStreamState::alive; }
    std::uint64_t xruns() const override { return _xruns.load(std::memory_order_relaxed); }

  private:
    void run(AudioRenderer& renderer);
    TimePoint dateOfFrame(std::uint64_t frame) const;
    bool sleepUntil(TimePoint date) const;
    std::uint64_t periodsMissed(std::uint64_t frame) const;

    const AudioDeviceFormat _format;
    TimePoint _start;
    std::vector<float> _samples;
    std::vector<float*> _outputs;
    std::atomic<bool> _isStopping{false};  // written by the owner, read by the audio thread
    std::atomic<std::uint64_t> _xruns{0};  // written by the audio thread, read by any
    std::jthread _thread;
};

}  // namespace zelvane

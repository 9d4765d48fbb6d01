// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioDevice.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <vector>

namespace zelvane {

/// Writes down what devices ask for, and gives every sample the value of a constant.
class RecordingRenderer final : public AudioRenderer {
  public:
    static constexpr float kSample = 0.25F;
    static constexpr std::size_t kCapacity = 100'000;
    static constexpr std::uint32_t kLatency = 100;  // beyond a period

    struct Cycle {
        TimePoint start;
        TimePoint cameAt;
        bool startIsExact = false;
        bool isDiscontinuous = false;
        std::uint32_t frames = 0;
        std::uint32_t periodFrames = 0;
        std::size_t channels = 0;
    };

    void prepare(const AudioDeviceFormat& format) override {
        if (_isRendering) _hasOverlapped = true;
        const std::lock_guard lock(_mutex);
        _formats.push_back(format);
    }

    std::uint32_t latencyFrames(std::uint32_t periodFrames) const override { return periodFrames + kLatency; }

    void render(const AudioCycle& cycle) noexcept override {
        if (_isRendering.exchange(true)) _hasOverlapped = true;
        for (float* output : cycle.outputs) std::fill_n(output, cycle.frames, kSample);
        const std::size_t at = _count.load(std::memory_order_relaxed);
        if (at < kCapacity) {
            _cycles[at] = {cycle.start,  Clock::monotonic().now(), cycle.startIsExact,  cycle.isDiscontinuous,
                           cycle.frames, cycle.periodFrames,       cycle.outputs.size()};
            _count.store(at + 1, std::memory_order_release);
        }
        _isRendering = false;
    }

    std::size_t count() const { return _count.load(std::memory_order_acquire); }
    std::vector<Cycle> cycles() const { return {_cycles.begin(), _cycles.begin() + std::ptrdiff_t(count())}; }
    std::vector<AudioDeviceFormat> formats() const {
        const std::lock_guard lock(_mutex);
        return _formats;
    }
    /// Two devices rendered at once, or one while the renderer was being prepared.
    bool hasOverlapped() const { return _hasOverlapped; }

  private:
    std::vector<Cycle> _cycles = std::vector<Cycle>(kCapacity);
    std::atomic<std::size_t> _count{0};  // written by the audio thread, read by the test
    std::atomic<bool> _isRendering{false};
    std::atomic<bool> _hasOverlapped{false};
    mutable std::mutex _mutex;
    std::vector<AudioDeviceFormat> _formats;
};

}  // namespace zelvane

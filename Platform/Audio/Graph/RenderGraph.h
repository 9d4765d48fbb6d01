// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioDevice.h"
#include "Platform/Audio/Graph/RenderState.h"
#include "Platform/Audio/Units/FrameClock.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

namespace zelvane {

/// What of the graph runs on the audio thread: it renders the units of the current state, mixes them, feeds
/// the tap and fills the device's buffers.
class RenderGraph : public AudioRenderer {
  public:
    /// Control threads, one at a time: the state from now on, null for silence. Returns the one before, no longer in
    /// use.
    std::unique_ptr<RenderState> setState(std::unique_ptr<RenderState> state) { return _cell.swap(std::move(state)); }

    /// Called with the format of a device before it runs, on the thread that opens it. Control threads.
    void setFormatHandler(std::function<void(const AudioDeviceFormat&)> handler);

    /// The format of the device that runs or ran last. Control threads.
    AudioDeviceFormat format() const;

    /// A factor for the whole output; changes glide over a block. Control threads.
    void setVolume(float volume) { _volume.store(volume, std::memory_order_relaxed); }
    float volume() const { return _volume.load(std::memory_order_relaxed); }

    /// How long messages are held back before they reach the units. Control threads.
    void setMessageDelay(Duration delay) { _messageDelay.store(delay, std::memory_order_relaxed); }

    void prepare(const AudioDeviceFormat& format) override;
    std::uint32_t latencyFrames(std::uint32_t periodFrames) const override;
    void render(const AudioCycle& cycle) noexcept override;

    /// Frames from an event's time to the frame at which it is played; 0 before the first cycle. Any thread.
    std::int64_t eventLatencyFrames() const { return _latencyFrames.load(std::memory_order_relaxed); }

    /// Events that reached their unit after their frame, in all units there were. Any thread.
    std::uint64_t lateEvents() const { return _lateEvents.load(std::memory_order_relaxed); }

    /// Blocks of a unit that were left out because they held what is no sound. Any thread.
    std::uint64_t mutedBlocks() const { return _mutedBlocks.load(std::memory_order_relaxed); }

    /// Most frames that units are asked for at once.
    static constexpr std::uint32_t kMaximumSlice = 1024;

  private:
    using Buffer = std::array<float, kMaximumSlice>;

    void renderSlice(RenderState* state, const AudioCycle& cycle, std::uint32_t offset, std::uint32_t frames) noexcept;
    void mixUnits(const RenderState& state, std::uint32_t frames) noexcept;
    void add(std::uint32_t frames) noexcept;
    void fillOutputs(const AudioCycle& cycle, std::uint32_t offset, std::uint32_t frames) noexcept;

    RenderStateCell _cell;
    std::atomic<float> _volume{1};                // written by control threads, read by the audio thread
    std::atomic<std::uint64_t> _mutedBlocks{0};   // written by the audio thread, read by all
    std::atomic<std::uint64_t> _lateEvents{0};    // written by the audio thread, read by all
    std::atomic<std::int64_t> _latencyFrames{0};  // written by the audio thread, read by all

    std::atomic<Duration> _messageDelay{Duration::zero()};  // written by control threads, read by any

    mutable std::mutex _formatMutex;  // control threads against each other
    AudioDeviceFormat _format;
    std::function<void(const AudioDeviceFormat&)> _formatHandler;

    // The audio thread's own, and `prepare`'s while no device runs.
    FrameClock _clock;
    std::int64_t _frame = 0;
    float _lastVolume = 1;
    Buffer _mixLeft{}, _mixRight{}, _unitLeft{}, _unitRight{};
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioDevice.h"

#include <atomic>

namespace zelvane {

/// Stands between a device and the renderer, so that a device can be taken off it at once, however long closing the
/// device itself takes, and a device that runs already can be put on it. A closed gate gives silence.
class RenderGate final : public AudioRenderer {
  public:
    explicit RenderGate(AudioRenderer& renderer) : _renderer(renderer) {}

    void prepare(const AudioDeviceFormat&) override {}
    std::uint32_t latencyFrames(std::uint32_t periodFrames) const override {
        return _renderer.latencyFrames(periodFrames);
    }
    void render(const AudioCycle& cycle) noexcept override;

    /// Lets cycles through. Any thread but the audio thread.
    void open();
    /// Holds cycles back; when it returns, the renderer is not being called and will not be. Any thread but the audio
    /// thread.
    void close();

  private:
    AudioRenderer& _renderer;
    std::atomic<bool> _isOpen{false};    // written by the watching thread, read by the audio thread
    std::atomic<bool> _isInside{false};  // written by the audio thread, read by the watching thread
};

}  // namespace zelvane

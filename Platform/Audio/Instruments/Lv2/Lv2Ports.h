// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/EventBuffer.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Plugin.h"

#include <lilv/lilv.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace zelvane {

/// What the ports of an instance are connected to. While the plug-in can run, all is for the audio thread and real-time
/// safe; the constructor is not.
class Lv2Ports {
  public:
    explicit Lv2Ports(const Lv2Plugin& plugin);
    Lv2Ports(const Lv2Ports&) = delete;
    Lv2Ports& operator=(const Lv2Ports&) = delete;

    /// Connects all of them, once.
    void connect(LilvInstance* instance);

    float& control(std::uint32_t port) noexcept { return _controls[port]; }
    EventBuffer& midi() noexcept { return *_midi; }
    /// The port for messages that get and set properties, or null.
    EventBuffer* patches() noexcept { return _patches; }
    /// The ports that the plug-in answers by.
    std::span<EventBuffer* const> answers() const noexcept { return _answers; }

    /// What the plug-in writes events to.
    struct Outgoing {
        std::uint32_t port;
        const EventBuffer* buffer;
    };
    std::span<const Outgoing> outgoing() const noexcept { return _outgoing; }

    /// Empties the buffers for events before a run.
    void beginRun() noexcept;
    /// The loudest sample of the run on any output; what is no number comes as infinity.
    float peak(std::uint32_t frames) const noexcept;
    /// All outputs on two channels.
    void mix(float* left, float* right, std::uint32_t frames) const noexcept;
    /// Frames from an event to its sound, as the plug-in reports them.
    float latencyFrames() const noexcept { return _latencyPort ? _controls[*_latencyPort] : 0; }

  private:
    enum class Side { left, right, both };
    struct Output {
        const float* samples;
        Side side;
    };

    void addPort(const Lv2Port& port);
    void chooseSides(const Lv2Plugin& plugin);

    std::vector<float> _controls;             // by index of the port
    std::vector<void*> _places;               // likewise: what each is connected to
    std::vector<float> _zeros;                // what all inputs for sound get
    std::vector<std::vector<float>> _sounds;  // of outputs for sound and voltages
    std::vector<Output> _outputs;
    std::vector<std::unique_ptr<EventBuffer>> _inputs;
    std::vector<std::unique_ptr<EventBuffer>> _outputEvents;
    std::vector<EventBuffer*> _answers;
    std::vector<Outgoing> _outgoing;
    EventBuffer* _midi = nullptr;
    EventBuffer* _patches = nullptr;
    std::optional<std::uint32_t> _latencyPort;
};

}  // namespace zelvane

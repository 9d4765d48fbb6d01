// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2Ports.h"

#include "Platform/Audio/Instruments/Lv2/Lv2Features.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace zelvane {

namespace {

using Kind = Lv2Port::Kind;
using Role = Lv2Port::Role;

constexpr std::uint32_t kInfinityBits = 0x7F800000;

/// The bits of numbers without their sign stand in the order of the numbers, those that are none at the end; whole
/// numbers are compared several at a time.
std::uint32_t peakBits(const float* samples, std::uint32_t frames) {
    std::uint32_t most = 0;
    for (std::uint32_t i = 0; i < frames; ++i)
        most = std::max(most, std::bit_cast<std::uint32_t>(samples[i]) & 0x7FFFFFFFU);
    return most;
}

void add(float* sum, const float* samples, std::uint32_t frames) {
    for (std::uint32_t i = 0; i < frames; ++i) sum[i] += samples[i];
}

}  // namespace

Lv2Ports::Lv2Ports(const Lv2Plugin& plugin)
    : _controls(plugin.ports.size()), _places(plugin.ports.size()), _zeros(Lv2Features::kMostFrames) {
    const Lv2Port* midi = plugin.midiInput();
    for (const Lv2Port& port : plugin.ports) {
        addPort(port);
        if (&port == midi) _midi = _inputs.back().get();
    }
    chooseSides(plugin);
}

void Lv2Ports::addPort(const Lv2Port& port) {
    switch (port.kind) {
        case Kind::control:
            _controls[port.index] = port.role == Role::enabled ? 1 : port.defaultValue;
            _places[port.index] = &_controls[port.index];
            if (port.role == Role::latency && !port.isInput) _latencyPort = port.index;
            break;
        case Kind::audio:
        case Kind::cv:
            if (!port.isInput) _sounds.emplace_back(Lv2Features::kMostFrames);
            _places[port.index] = port.isInput ? _zeros.data() : _sounds.back().data();
            break;
        case Kind::atom: {
            auto& buffers = port.isInput ? _inputs : _outputEvents;
            buffers.push_back(std::make_unique<EventBuffer>(port.leastSize));
            _places[port.index] = buffers.back()->data();
            if (port.isInput && port.takesPatches && _patches == nullptr) _patches = buffers.back().get();
            if (!port.isInput) _outgoing.push_back({port.index, buffers.back().get()});
            if (!port.isInput && port.takesPatches) _answers.push_back(buffers.back().get());
            break;
        }
        default:
            break;
    }
}

// Two designated outputs are the instrument as a whole; else all are heard, in turn on the left and on the right, so
// that nothing is lost of an instrument with an output for each drum.
void Lv2Ports::chooseSides(const Lv2Plugin& plugin) {
    std::vector<const Lv2Port*> ports;
    for (const Lv2Port& port : plugin.ports)
        if (port.kind == Kind::audio && !port.isInput) ports.push_back(&port);
    const auto designated = [&](Role role) {
        return std::find_if(ports.begin(), ports.end(), [role](const Lv2Port* port) { return port->role == role; });
    };
    const auto output = [this](const Lv2Port* port, Side side) {
        _outputs.push_back({static_cast<const float*>(_places[port->index]), side});
    };
    const auto left = designated(Role::left);
    const auto right = designated(Role::right);
    if (left != ports.end() && right != ports.end()) {
        output(*left, Side::left);
        output(*right, Side::right);
    } else if (ports.size() == 1) {
        output(ports[0], Side::both);
    } else {
        for (std::size_t i = 0; i < ports.size(); ++i) output(ports[i], i % 2 == 0 ? Side::left : Side::right);
    }
}

void Lv2Ports::connect(LilvInstance* instance) {
    for (std::uint32_t port = 0; port < _places.size(); ++port)
        lilv_instance_connect_port(instance, port, _places[port]);
}

void Lv2Ports::beginRun() noexcept {
    for (const auto& buffer : _inputs) buffer->clear();
    for (const auto& buffer : _outputEvents) buffer->offer();
}

float Lv2Ports::peak(std::uint32_t frames) const noexcept {
    std::uint32_t most = 0;
    for (const Output& output : _outputs) most = std::max(most, peakBits(output.samples, frames));
    return most < kInfinityBits ? std::bit_cast<float>(most) : std::numeric_limits<float>::infinity();
}

void Lv2Ports::mix(float* left, float* right, std::uint32_t frames) const noexcept {
    std::fill_n(left, frames, 0.0F);
    std::fill_n(right, frames, 0.0F);
    for (const Output& output : _outputs) {
        if (output.side != Side::right) add(left, output.samples, frames);
        if (output.side != Side::left) add(right, output.samples, frames);
    }
}

}  // namespace zelvane

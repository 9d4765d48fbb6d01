// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Graph/MixerTap.h"
#include "Platform/Audio/Graph/OutputUnit.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace zelvane {

class AVAudioEngine;

/// The format of a connection: float samples, one buffer a channel.
struct AVAudioFormat {
    double sampleRate = 0;
    std::uint32_t channelCount = 0;

    bool operator==(const AVAudioFormat&) const = default;
};

/// The node in which all units are mixed. Lives as long as its engine.
class AVAudioMixerNode {
  public:
    explicit AVAudioMixerNode(AVAudioEngine& engine) : _engine(engine) {}

    /// Hands every `bufferSize` frames of the mix to the block, on the audio thread. Bus 0 is the only one; a tap that
    /// is already there is replaced. Control threads.
    void installTapOnBus(std::uint32_t bus, std::uint32_t bufferSize, AVAudioNodeTapBlock block);
    /// When it returns the block is not called any more.
    void removeTapOnBus(std::uint32_t bus);

    AVAudioFormat outputFormatForBus(std::uint32_t bus) const;
    std::string description() const { return "<AVAudioMixerNode>"; }

  private:
    AVAudioEngine& _engine;
};

/// The node that plays the mix on a device. Lives as long as its engine.
class AVAudioOutputNode {
  public:
    AVAudioOutputNode(RenderGraph& graph, OutputDeviceController& controller, AudioHardware& hardware)
        : _graph(graph), _unit(graph, controller, hardware) {}

    AudioUnit* audioUnit() { return &_unit; }
    /// The device's rate; the mix is stereo whatever the device has.
    AVAudioFormat outputFormatForBus(std::uint32_t bus) const;
    std::string description() const { return "<AVAudioOutputNode>"; }

  private:
    RenderGraph& _graph;
    OutputUnit _unit;
};

}  // namespace zelvane

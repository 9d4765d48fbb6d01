// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Graph/AVAudioNodes.h"
#include "Platform/Audio/Units/AVAudioUnit.h"
#include "Platform/Foundation/Error.h"

#include <memory>
#include <mutex>
#include <vector>

namespace zelvane {

/// The graph: instruments connected to a mixer, the mixer to the output. At most one engine uses a render graph at a
/// time. Control threads, any of them.
class AVAudioEngine {
  public:
    AVAudioEngine(RenderGraph& graph, OutputDeviceController& controller, AudioHardware& hardware);
    /// Falls silent, and takes out all nodes.
    ~AVAudioEngine();
    AVAudioEngine(const AVAudioEngine&) = delete;
    AVAudioEngine& operator=(const AVAudioEngine&) = delete;

    AVAudioMixerNode* mainMixerNode() { return &_mixerNode; }
    AVAudioOutputNode* outputNode() { return &_outputNode; }

    /// Makes the engine know a node; it sounds once it is connected. A node that is already known is left as it is.
    void attachNode(const std::shared_ptr<AVAudioUnit>& node);
    /// Takes a node out; what it plays ends at once. Sound of the others is held up for that moment.
    void detachNode(const std::shared_ptr<AVAudioUnit>& node);
    /// Connects an attached node to the mixer at the format's rate. 0, or why the instrument does not work at that
    /// rate.
    OSStatus connect(const std::shared_ptr<AVAudioUnit>& node, AVAudioMixerNode& mixer, const AVAudioFormat& format);

    /// Brings all connected nodes to the rate of the device, where it changed.
    void prepare();
    /// Lets sound run. False, with a reason, when a connected node can't play.
    bool startAndReturnError(Error& error);
    bool isRunning() const;
    /// Silence until the next start. When it returns the audio thread has left the nodes; what they play stays as it
    /// is.
    void pause();

  private:
    friend class AVAudioMixerNode;

    struct Node {
        std::shared_ptr<AVAudioUnit> unit;
        bool isConnected = false;
        double sampleRate = 0;
    };

    OSStatus prepareNode(Node& node, double sampleRate);
    void followRate(double sampleRate);
    void setTap(std::unique_ptr<MixerTap> tap);
    void publish();
    std::vector<Node>::iterator find(const AVAudioUnit* unit);

    RenderGraph& _graph;
    AVAudioMixerNode _mixerNode;
    AVAudioOutputNode _outputNode;
    mutable std::mutex _mutex;  // control threads against each other
    std::vector<Node> _nodes;
    std::unique_ptr<MixerTap> _tap;
    bool _isRunning = false;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Graph/AVAudioEngine.h"

#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"

#include <algorithm>

namespace zelvane {

AVAudioEngine::AVAudioEngine(RenderGraph& graph, OutputDeviceController& controller, AudioHardware& hardware)
    : _graph(graph), _mixerNode(*this), _outputNode(graph, controller, hardware) {
    _graph.setFormatHandler([this](const AudioDeviceFormat& format) { followRate(format.sampleRate); });
}

AVAudioEngine::~AVAudioEngine() {
    _graph.setFormatHandler({});
    pause();
    for (const Node& node : _nodes) node.unit->audioUnit()->silence();
}

std::vector<AVAudioEngine::Node>::iterator AVAudioEngine::find(const AVAudioUnit* unit) {
    return std::find_if(_nodes.begin(), _nodes.end(), [unit](const Node& node) { return node.unit.get() == unit; });
}

void AVAudioEngine::attachNode(const std::shared_ptr<AVAudioUnit>& node) {
    const std::lock_guard lock(_mutex);
    if (find(node.get()) == _nodes.end()) _nodes.push_back({node, false, 0});
}

void AVAudioEngine::detachNode(const std::shared_ptr<AVAudioUnit>& node) {
    const std::lock_guard lock(_mutex);
    const auto place = find(node.get());
    if (place == _nodes.end()) return;
    // The instances of one instrument may share what they count without atomics, so none may render while one is
    // emptied.
    _graph.setState(nullptr);
    node->audioUnit()->silence();
    _nodes.erase(place);
    publish();
}

OSStatus AVAudioEngine::connect(const std::shared_ptr<AVAudioUnit>& node, AVAudioMixerNode& /*mixer*/,
                                const AVAudioFormat& format) {
    const std::lock_guard lock(_mutex);
    const auto place = find(node.get());
    if (place == _nodes.end()) return kAudio_ParamError;
    if (place->isConnected && place->sampleRate == format.sampleRate) return kNoError;
    _graph.setState(nullptr);
    const OSStatus status = prepareNode(*place, format.sampleRate);
    place->isConnected = true;
    publish();
    return status;
}

OSStatus AVAudioEngine::prepareNode(Node& node, double sampleRate) {
    if (node.sampleRate == sampleRate) return kNoError;
    const OSStatus status = node.unit->audioUnit()->prepare(sampleRate, RenderGraph::kMaximumSlice);
    node.sampleRate = status == kNoError ? sampleRate : 0;
    return status;
}

// Called while no device runs, so nothing renders.
void AVAudioEngine::followRate(double sampleRate) {
    const std::lock_guard lock(_mutex);
    for (Node& node : _nodes) {
        if (node.isConnected) prepareNode(node, sampleRate);
    }
    publish();
}

void AVAudioEngine::prepare() {
    const double sampleRate = _graph.format().sampleRate;
    const std::lock_guard lock(_mutex);
    const auto isBehind = [sampleRate](const Node& node) { return node.isConnected && node.sampleRate != sampleRate; };
    if (std::none_of(_nodes.begin(), _nodes.end(), isBehind)) return;
    _graph.setState(nullptr);
    for (Node& node : _nodes) {
        if (node.isConnected) prepareNode(node, sampleRate);
    }
    publish();
}

bool AVAudioEngine::startAndReturnError(Error& error) {
    const std::lock_guard lock(_mutex);
    const auto isBroken = [](const Node& node) { return node.isConnected && node.sampleRate == 0; };
    const auto broken = std::find_if(_nodes.begin(), _nodes.end(), isBroken);
    if (broken != _nodes.end()) {
        const std::string name = broken->unit->name();
        error = {"AudioGraph", kAudioUnitErr_FailedInitialization,
                 formatted(localizedString("Sorry, %@ does not play at the rate of the output device."), {name})};
        return false;
    }
    _isRunning = true;
    publish();
    return true;
}

bool AVAudioEngine::isRunning() const {
    const std::lock_guard lock(_mutex);
    return _isRunning;
}

void AVAudioEngine::pause() {
    const std::lock_guard lock(_mutex);
    _isRunning = false;
    publish();
}

void AVAudioEngine::setTap(std::unique_ptr<MixerTap> tap) {
    const std::lock_guard lock(_mutex);
    _graph.setState(nullptr);
    _tap = std::move(tap);
    publish();
}

void AVAudioEngine::publish() {
    if (!_isRunning) {
        _graph.setState(nullptr);
        return;
    }
    auto state = std::make_unique<RenderState>();
    state->tap = _tap.get();
    for (const Node& node : _nodes) {
        if (node.isConnected && node.sampleRate > 0) state->units.push_back(node.unit->audioUnit());
    }
    _graph.setState(std::move(state));
}

}  // namespace zelvane

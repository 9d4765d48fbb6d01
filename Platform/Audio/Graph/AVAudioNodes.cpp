// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Graph/AVAudioNodes.h"

#include "Platform/Audio/Graph/AVAudioEngine.h"

namespace zelvane {

void AVAudioMixerNode::installTapOnBus(std::uint32_t bus, std::uint32_t bufferSize, AVAudioNodeTapBlock block) {
    if (bus == 0) _engine.setTap(std::make_unique<MixerTap>(bufferSize, std::move(block)));
}

void AVAudioMixerNode::removeTapOnBus(std::uint32_t bus) {
    if (bus == 0) _engine.setTap(nullptr);
}

AVAudioFormat AVAudioMixerNode::outputFormatForBus(std::uint32_t bus) const {
    return _engine._outputNode.outputFormatForBus(bus);
}

AVAudioFormat AVAudioOutputNode::outputFormatForBus(std::uint32_t bus) const {
    return bus == 0 ? AVAudioFormat{_graph.format().sampleRate, 2} : AVAudioFormat{};
}

}  // namespace zelvane

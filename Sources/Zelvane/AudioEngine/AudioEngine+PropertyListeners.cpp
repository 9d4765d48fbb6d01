// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Log.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"
#include "Sources/Zelvane/AudioEngine/AudioUnitPropertyNames.h"
#include "Sources/Zelvane/AudioEngine/PropertyCallbacks.h"

#include <algorithm>

namespace zelvane {

namespace {

constexpr const char* kSelector = "setAudioUnitPropertyListeners:modus:log:";
// The window looks at no other IDs, so none is handed to it.
constexpr AudioUnitPropertyID kShownStep = 10'000;

std::string numberText(AudioUnitPropertyID id) {
    return std::to_string(static_cast<std::int32_t>(id));
}

}  // namespace

void AudioEngine::setAudioUnitPropertyListeners(MicroUnit& source, std::int32_t modus, bool log) {
    const auto node = source.synthNode();
    if (!source.hasCustomView() || node == nullptr) return;
    switch (modus) {
        case 0:
            return removePropertyListeners(*node, log);
        case 1:
            return addPropertyListeners(node, log);
        default:
            return sendAUPropertiesToPropertyListeners(*node, false);
    }
}

void AudioEngine::addPropertyListeners(const std::shared_ptr<AVAudioUnit>& node, bool log) {
    std::string path = "(null)";
    if (_enabledAUPropertyIDs.isNone() && !findEnabledPropertyIDs(node, log, path)) return;
    int count = 0;
    for (const AudioUnitPropertyID id : _enabledAUPropertyIDs.ids()) {
        if (AudioUnitAddPropertyListener(node->audioUnit(), id, MyAUPropertyListenerProc, this) == kNoError) {
            ++count;
            if (log) formatAUPropertyInstallLog(id, *node);
        } else {
            Log::write("AudioEngine+Properties: [%@] unable to install listener for %@ %@ property id %d named %@",
                       {kSelector, node->name(), node->description(), numberText(id), audioUnitPropertyNameFromID(id)});
        }
    }
    if (log)
        Log::write("AudioEngine+Properties: [%@] installed listeners for %d %@ %@ properties from %@",
                   {kSelector, std::to_string(count), node->name(), node->description(), path});
}

/// False when the units are other ones by the time the list is found.
bool AudioEngine::findEnabledPropertyIDs(const std::shared_ptr<AVAudioUnit>& node, bool log, std::string& path) {
    if (auto stored = readEnabledPropertyIDs(node->name())) {
        path = stored->file.string();
        _enabledAUPropertyIDs.set(std::move(stored->ids));
        return true;
    }
    if (!probeAUProperties(node, log)) return false;
    path = pathToEnabledPropertyIDsFile(*node, SearchPathDomain::user, true).string();
    return true;
}

bool AudioEngine::probeAUProperties(const std::shared_ptr<AVAudioUnit>& node, bool log, PropertyIDRange range) {
    _enabledAUPropertyIDs.set({});
    const std::uint64_t generation = _enabledAUPropertyIDs.generation();
    // What runs meanwhile may choose another instrument, or end the application.
    const auto isWanted = [&] {
        return _enabledAUPropertyIDs.generation() == generation && !_application.mainRunLoop().hasEnded();
    };
    showScanProgress(node->name());
    // In 64 bits, in which the range has a number behind its last.
    const std::uint64_t end = std::uint64_t{range.last} + 1;
    for (std::uint64_t id = range.first; id < end;) {
        if (id % kShownStep == 0) incrementScanProgress(static_cast<AudioUnitPropertyID>(id));
        if (!isWanted()) break;
        const std::uint64_t stepEnd = std::min(end, (id / kShownStep + 1) * kShownStep);
        for (; id < stepEnd; ++id) checkToEnableAUPropertyListener(static_cast<AudioUnitPropertyID>(id), *node, log);
    }
    hideScanProgress();
    if (!isWanted()) return false;
    writeEnabledPropertyIDs(node->name(), _enabledAUPropertyIDs.ids());
    return true;
}

void AudioEngine::postToWindow(RunLoop::Work work) {
    RunLoop& mainRunLoop = _application.mainRunLoop();
    if (mainRunLoop.perform(std::move(work))) mainRunLoop.runOnce();
    // And what else is due, so that nobody waits for the end of a long search.
    while (mainRunLoop.runOnce(TimePoint())) {
    }
}

void AudioEngine::showScanProgress(const std::string& instrument) {
    postToWindow([&application = _application, instrument] { application.showScanProgress(instrument); });
}

void AudioEngine::incrementScanProgress(AudioUnitPropertyID id) {
    postToWindow([&application = _application, id] { application.incrementScanProgress(id); });
}

void AudioEngine::hideScanProgress() {
    postToWindow([&application = _application] { application.hideScanProgress(); });
}

void AudioEngine::checkToEnableAUPropertyListener(AudioUnitPropertyID id, AVAudioUnit& node, bool log) {
    bool isWritable = false;
    if (AudioUnitGetPropertyInfo(node.audioUnit(), id, kAudioUnitScope_Global, 0, nullptr, &isWritable) != kNoError ||
        !isWritable)
        return;
    _enabledAUPropertyIDs.append(id);
    if (log) formatAUPropertyInstallLog(id, node);
}

// Of two equal entries both go with the first, and the entry behind them is passed over: it stays listened to.
void AudioEngine::removePropertyListeners(AVAudioUnit& node, bool log) {
    _enabledAUPropertyIDs.walkRemoving([&](AudioUnitPropertyID id) {
        if (AudioUnitRemovePropertyListenerWithUserData(node.audioUnit(), id, MyAUPropertyListenerProc, this) !=
            kNoError)
            return false;
        if (log) formatAUPropertyRemoveLog(id, node);
        return true;
    });
    _enabledAUPropertyIDs.drop();
}

void AudioEngine::removeAUPropertyListener(AudioUnitPropertyID id, AVAudioUnit& node, bool log) {
    if (AudioUnitRemovePropertyListenerWithUserData(node.audioUnit(), id, MyAUPropertyListenerProc, this) != kNoError)
        return;
    _enabledAUPropertyIDs.walkRemoving([&](AudioUnitPropertyID entry) {
        if (entry != id) return false;
        if (log) formatAUPropertyRemoveLog(id, node);
        return true;
    });
}

bool AudioEngine::isInEnabledInAUPropertyList(AudioUnitPropertyID id) const {
    return _enabledAUPropertyIDs.contains(id);
}

void AudioEngine::sendAUPropertiesToPropertyListeners(AVAudioUnit& node, bool log) {
    for (const AudioUnitPropertyID id : _enabledAUPropertyIDs.ids())
        sendToAudioUnitAUPropertyListener(id, node, audioUnitPropertyNameFromID(id), log);
}

void AudioEngine::sendToAudioUnitAUPropertyListener(AudioUnitPropertyID id, AVAudioUnit& node, const std::string& name,
                                                    bool log) {
    if (log)
        Log::write(
            "AudioEngine+Properties: [%@] propagating %@ property %d named %@",
            {"sendToAudioUnitAUPropertyListener:withNode:withName:log:", node.description(), numberText(id), name});
    MyAUPropertyListenerProc(this, node.audioUnit(), id, kAudioUnitScope_Global, 0);
}

void AudioEngine::formatAUPropertyInstallLog(AudioUnitPropertyID id, const AVAudioUnit& node) {
    Log::write("AudioEngine+Properties: [%@] installed %@ listener for %@ property %d named %@",
               {"formatAUPropertyInstallLog:withNode:", node.name(), node.description(), numberText(id),
                audioUnitPropertyNameFromID(id)});
}

void AudioEngine::formatAUPropertyRemoveLog(AudioUnitPropertyID id, const AVAudioUnit& node) {
    Log::write("AudioEngine+Properties: [%@] removed %@ listener for %@ property %d named %@",
               {"formatAUPropertyRemoveLog:withNode:", node.name(), node.description(), numberText(id),
                audioUnitPropertyNameFromID(id)});
}

}  // namespace zelvane

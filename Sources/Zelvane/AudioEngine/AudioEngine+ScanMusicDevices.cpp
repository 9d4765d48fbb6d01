// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/Text.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"

namespace zelvane {

namespace {

constexpr const char* kSelector = "scanMusicDevicesWithProgressTextField:onThread:";

}  // namespace

/// A scan under way. The main thread's, as are the table and the lists that it fills.
struct AudioEngine::Scan {
    void show(const std::string& text) const {
        if (textField == nullptr) return;
        thread.perform([field = textField, text] { field->setStringValue(text); });
    }

    const std::shared_ptr<ProgressTextField> textField;
    RunLoop& thread;
    std::vector<AVAudioUnitComponent> components;
    bool isRunning = true;
};

// The main thread serves the user and the other threads until the last instrument is done.
void AudioEngine::scanMusicDevicesWithProgressTextField(const std::shared_ptr<ProgressTextField>& textField,
                                                        RunLoop& onThread) {
    _musicDevicesMap.clear();
    const auto scan = std::make_shared<Scan>(Scan{textField, onThread, findAllMusicDevices()});
    RunLoop& mainRunLoop = _application.mainRunLoop();
    for (std::size_t index = 0; index < scan->components.size(); ++index) {
        const AVAudioUnitComponent& component = scan->components[index];
        scan->show(formatted(localizedString("Testing device %@."), {component.name}));
        _platform.components.instantiateWithComponentDescription(
            component.audioComponentDescription, kAudioComponentInstantiation_LoadOutOfProcess,
            [this, scan, index, &mainRunLoop](const std::shared_ptr<AVAudioUnit>& instance,
                                              const std::optional<Error>& error) {
                // Tested in another process, it has no instance in this one.
                const std::string name = instance != nullptr ? instance->name() : scan->components[index].name;
                const bool isUsable = !error.has_value();
                mainRunLoop.perform([this, scan, index, name, isUsable] { finishScanOf(scan, index, name, isUsable); });
            });
    }
    while (!scan->components.empty() && scan->isRunning && !mainRunLoop.hasEnded()) mainRunLoop.runOnce();
}

void AudioEngine::finishScanOf(const std::shared_ptr<Scan>& scan, std::size_t index, const std::string& instanceName,
                               bool isUsable) {
    const AVAudioUnitComponent& component = scan->components[index];
    if (isUsable) {
        whitelist(component, instanceName);
    } else {
        endForUnusable(component);
    }
    if (index + 1 < scan->components.size()) return;
    scan->show(localizedString("Scan done."));
    scan->isRunning = false;
}

void AudioEngine::whitelist(const AVAudioUnitComponent& component, const std::string& instanceName) {
    _musicDevicesMap[component.name] = component;
    _whitelistedMusicDeviceNames.push_back(component.name);
    PropertyList::Array names;
    for (const auto& name : _whitelistedMusicDeviceNames) names.emplace_back().value = name;
    _defaults.set("devicesMap", {std::move(names)});
    Log::write("AudioEngine: [%@] %@ supports StartStopNote API, necessary to play midic microtones",
               {kSelector, instanceName});
}

void AudioEngine::endForUnusable(const AVAudioUnitComponent& component) {
    Log::write("AudioEngine: [%@] unable to load %@", {kSelector, component.name});
    presentErrorAndExit(
        {"AudioConfiguration", 2, formatted(localizedString("Sorry, unable to load %@"), {component.name})});
}

}  // namespace zelvane

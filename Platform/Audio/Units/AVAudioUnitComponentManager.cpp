// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/AVAudioUnitComponentManager.h"

#include "Platform/Audio/Units/SilentInstrument.h"
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Thread.h"

#include <algorithm>

namespace zelvane {

namespace {

bool matches(const AudioComponentDescription& wanted, const AudioComponentDescription& offered) {
    const auto fits = [](std::uint32_t want, std::uint32_t have) { return want == 0 || want == have; };
    return fits(wanted.componentType, offered.componentType) &&
           fits(wanted.componentSubType, offered.componentSubType) &&
           fits(wanted.componentManufacturer, offered.componentManufacturer) &&
           ((wanted.componentFlags ^ offered.componentFlags) & wanted.componentFlagsMask) == 0;
}

}  // namespace

AVAudioUnitComponentManager::AVAudioUnitComponentManager(std::vector<std::unique_ptr<AudioComponentProvider>> providers)
    : _providers(std::move(providers)), _loader(startThread("zelvane-loader", ThreadRole::ordinary, [this] {
          _loaderLoop.attachToCurrentThread();
          _loaderLoop.run();
      })) {}

AVAudioUnitComponentManager::~AVAudioUnitComponentManager() {
    _loaderLoop.end();
    _loader.join();
}

std::vector<AVAudioUnitComponent> AVAudioUnitComponentManager::componentsMatchingDescription(
    const AudioComponentDescription& description) {
    const std::lock_guard lock(_providersMutex);
    std::vector<AVAudioUnitComponent> found;
    for (const auto& provider : _providers) {
        for (auto& component : provider->components()) {
            if (matches(description, component.audioComponentDescription)) found.push_back(std::move(component));
        }
    }
    return found;
}

std::string AVAudioUnitComponentManager::installationAdvice() const {
    std::string advice;
    for (const auto& provider : _providers) {
        const std::string line = provider->installationAdvice();
        if (!line.empty()) advice += (advice.empty() ? "" : "\n") + line;
    }
    return advice;
}

void AVAudioUnitComponentManager::setChangeHandler(const std::function<void()>& handler) {
    for (const auto& provider : _providers) provider->setChangeHandler(handler);
}

void AVAudioUnitComponentManager::instantiateWithComponentDescription(const AudioComponentDescription& description,
                                                                      std::uint32_t options,
                                                                      CompletionHandler handler) {
    _loaderLoop.perform(
        [this, description, options, handler = std::move(handler), cancellations = _cancellations.load()] {
            if (cancellations == _cancellations) instantiate(description, options, handler);
        });
}

void AVAudioUnitComponentManager::waitForRequests() {
    _loaderLoop.perform([] {}, RunLoop::Wait::yes);
}

void AVAudioUnitComponentManager::cancelRequests() {
    ++_cancellations;
    waitForRequests();
}

void AVAudioUnitComponentManager::setViewControllerProvider(std::shared_ptr<ViewControllerProvider> provider) {
    const std::lock_guard lock(_viewControllersMutex);
    _viewControllers = std::move(provider);
}

std::shared_ptr<ViewControllerProvider> AVAudioUnitComponentManager::viewControllers() {
    const std::lock_guard lock(_viewControllersMutex);
    return _viewControllers;
}

std::optional<AVAudioUnitComponentManager::Found> AVAudioUnitComponentManager::find(
    const AudioComponentDescription& description) {
    AudioComponentDescription anyFlags = description;
    anyFlags.componentFlagsMask = 0;
    const std::lock_guard lock(_providersMutex);
    for (const auto& provider : _providers) {
        for (auto& component : provider->components()) {
            if (matches(anyFlags, component.audioComponentDescription)) return Found{provider.get(), component};
        }
    }
    return std::nullopt;
}

// Without the lock: making an instance may take seconds, and the list of components is asked for meanwhile.
void AVAudioUnitComponentManager::instantiate(const AudioComponentDescription& description, std::uint32_t options,
                                              const CompletionHandler& handler) {
    const auto found = find(description);
    if (!found) {
        return handler(nullptr, Error{"AudioComponent", kAudioUnitErr_InvalidProperty,
                                      localizedString("There is no such instrument any more.")});
    }
    const auto& wanted = found->component.audioComponentDescription;
    Error error;
    std::unique_ptr<Instrument> instrument;
    if ((options & kAudioComponentInstantiation_LoadOutOfProcess) == 0) {
        instrument = found->provider->instantiate(wanted, error);
    } else if (found->provider->testOutOfProcess(wanted, error)) {
        instrument = std::make_unique<SilentInstrument>();
    }
    if (instrument == nullptr) return handler(nullptr, error);
    handler(std::make_shared<AVAudioUnit>(found->component, std::move(instrument), viewControllers()), std::nullopt);
}

}  // namespace zelvane

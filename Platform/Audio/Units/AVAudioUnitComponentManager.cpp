// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/AVAudioUnitComponentManager.h"

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

void AVAudioUnitComponentManager::instantiateWithComponentDescription(const AudioComponentDescription& description,
                                                                      std::uint32_t /*options*/,
                                                                      CompletionHandler handler) {
    _loaderLoop.perform([this, description, handler = std::move(handler), cancellations = _cancellations.load()] {
        if (cancellations == _cancellations) instantiate(description, handler);
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

void AVAudioUnitComponentManager::instantiate(const AudioComponentDescription& description,
                                              const CompletionHandler& handler) {
    AudioComponentDescription anyFlags = description;
    anyFlags.componentFlagsMask = 0;
    std::unique_lock lock(_providersMutex);
    for (const auto& provider : _providers) {
        for (const auto& component : provider->components()) {
            if (!matches(anyFlags, component.audioComponentDescription)) continue;
            Error error;
            auto instrument = provider->instantiate(component.audioComponentDescription, error);
            lock.unlock();
            if (instrument == nullptr) return handler(nullptr, error);
            return handler(std::make_shared<AVAudioUnit>(component, std::move(instrument), viewControllers()),
                           std::nullopt);
        }
    }
    lock.unlock();
    handler(nullptr, Error{"AudioComponent", kAudioUnitErr_InvalidProperty,
                           localizedString("There is no such instrument any more.")});
}

}  // namespace zelvane

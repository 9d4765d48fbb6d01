// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AVAudioUnit.h"
#include "Platform/Foundation/RunLoop.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace zelvane {

/// An option of an instantiation: what the component does can't harm this process.
inline constexpr std::uint32_t kAudioComponentInstantiation_LoadOutOfProcess = 1;

/// All instruments of all formats, and the thread on which their instances are made.
class AVAudioUnitComponentManager {
  public:
    using CompletionHandler = std::function<void(std::shared_ptr<AVAudioUnit> instance, std::optional<Error> error)>;

    explicit AVAudioUnitComponentManager(std::vector<std::unique_ptr<AudioComponentProvider>> providers);
    /// Ends the loader; requests that wait are dropped without a word.
    ~AVAudioUnitComponentManager();

    /// The components that match: 0 in a code stands for any, of the flags those in the mask must be equal. Control
    /// threads.
    std::vector<AVAudioUnitComponent> componentsMatchingDescription(const AudioComponentDescription& description);

    /// What the user may install when there are none; one line for each format that knows something.
    std::string installationAdvice() const;

    /// Has the handler called, on any thread, when the components of a format have changed; an empty one ends that, and
    /// when this returns the handler before it is not called any more. Control threads, not from within a handler.
    void setChangeHandler(const std::function<void()>& handler);

    /// Makes an instance of the first component of that type, subtype and manufacturer and calls the handler once, on
    /// the loader thread, with the instance or an error. With `kAudioComponentInstantiation_LoadOutOfProcess` the
    /// component is tried in a process of its own, and the instance that stands for it here plays nothing. Any thread.
    void instantiateWithComponentDescription(const AudioComponentDescription& description, std::uint32_t options,
                                             CompletionHandler handler);

    /// Returns when the handlers of all requests made so far have run. Not on the loader thread.
    void waitForRequests();

    /// Drops the requests that have not begun, without a word, and returns when the one under way is over. Not on the
    /// loader thread.
    void cancelRequests();

    /// Where the instances made from now on have their editors from; null when there are none. Any thread.
    void setViewControllerProvider(std::shared_ptr<ViewControllerProvider> provider);

  private:
    std::shared_ptr<ViewControllerProvider> viewControllers();
    struct Found {
        AudioComponentProvider* provider = nullptr;
        AVAudioUnitComponent component;
    };
    std::optional<Found> find(const AudioComponentDescription& description);
    void instantiate(const AudioComponentDescription& description, std::uint32_t options,
                     const CompletionHandler& handler);

    const std::vector<std::unique_ptr<AudioComponentProvider>> _providers;
    std::mutex _providersMutex;
    std::mutex _viewControllersMutex;
    std::shared_ptr<ViewControllerProvider> _viewControllers;  // guarded by _viewControllersMutex
    std::atomic<std::uint64_t> _cancellations{0};              // written by any thread, read by the loader
    RunLoop _loaderLoop;
    std::jthread _loader;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/RenderGate.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace zelvane {

/// A device that runs, with the gate between it and the renderer.
struct OpenDevice {
    explicit OpenDevice(AudioRenderer& renderer) : gate(renderer) {}

    RenderGate gate;
    std::unique_ptr<AudioStream> stream;
    std::string name;
    bool followsDefault = false;
};

/// Gives a back end a thread of its own, so that a server which hangs holds up nobody else: neither the other back
/// ends, nor the fallback, nor the end of the program. Any thread, unless stated.
class BackEndWorker {
  public:
    /// What came of an `open`: a device whose gate is closed, or the reason why not.
    struct Attempt {
        std::unique_ptr<OpenDevice> opened;
        Error error;
    };

    /// `changed` is called on the worker's thread when an attempt is done.
    BackEndWorker(std::unique_ptr<AudioDeviceBackEnd> backEnd, AudioRenderer& renderer, std::function<void()> changed);
    /// Waits a moment for what is under way; leaves a server that hangs to itself.
    ~BackEndWorker();
    BackEndWorker(const BackEndWorker&) = delete;
    BackEndWorker& operator=(const BackEndWorker&) = delete;

    const std::string& name() const { return _name; }
    bool takesPeriodWish() const { return _takesPeriodWish; }

    /// Opens and starts a device (with an empty name the default one). One attempt at a time; a result that nobody took
    /// is closed again.
    void open(const std::string& device, const AudioStreamWish& wish);
    bool isOpening() const;
    /// The result of the last attempt, once; waits for it at most that long.
    std::optional<Attempt> takeAttempt(Duration limit = Duration::zero());
    /// Closes the device some time soon. Its gate must be closed already.
    void close(std::unique_ptr<OpenDevice> device);

    /// Begins to ask for the devices.
    void refresh();
    /// The devices as they were told last.
    std::vector<AudioDeviceInfo> knownDevices() const;
    /// The devices now, or as they were told last when the answer takes longer than to the deadline.
    std::vector<AudioDeviceInfo> devices(TimePoint deadline);

  private:
    struct State;

    const std::string _name;
    const bool _takesPeriodWish;
    std::shared_ptr<State> _state;  // shared with the thread, which a server that hangs may keep for ever
    std::jthread _thread;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/DeviceHunt.h"
#include "Platform/Audio/Devices/OutputDeviceController.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

namespace zelvane {

/// The watching thread of the controller. Others leave orders and read the status; everything that opens, closes and
/// prepares is this thread's.
class OutputDeviceController::Watch {
  public:
    Watch(std::vector<std::unique_ptr<AudioDeviceBackEnd>> backEnds, AudioRenderer& renderer,
          std::function<void()> housekeeping);
    ~Watch();

    void select(const Choice& choice);
    void setPeriodFrames(std::uint32_t frames);
    Status status() const;
    std::vector<std::pair<Choice, AudioDeviceInfo>> devices();
    Choice defaultDevice();

  private:
    struct Orders {
        Choice choice;
        std::uint32_t periodFrames = 512;
        std::uint64_t number = 0;
    };
    struct Playing {
        std::size_t worker = 0;
        std::unique_ptr<OpenDevice> device;
        AudioDeviceFormat format;
    };

    // Any thread.
    template <typename Change>
    void order(Change change);
    void wakeUp();

    // Watching thread.
    void run();
    bool waitForWork();
    void takeOrders(TimePoint now);
    void checkPlaying(TimePoint now);
    void proceedHunt(TimePoint now);
    void giveUpHunt(TimePoint now);
    void bridgeGap(TimePoint now);
    void dropForgotten();
    void keepHouse(TimePoint now);
    void publish();

    std::vector<DeviceCandidate> candidates() const;
    bool isSatisfied() const;
    bool mayBecomeBetter() const;
    void startHunt(TimePoint now, bool isLoud);
    void play(std::size_t worker, std::unique_ptr<OpenDevice> device);
    void playFallback();
    void stopPlaying(TimePoint now);
    void followDefaultsName();
    std::string targetName() const;
    std::size_t fallback() const { return _workers.size() - 1; }

    AudioRenderer& _renderer;
    const std::function<void()> _housekeeping;

    mutable std::mutex _mutex;
    std::condition_variable _work;
    std::condition_variable _settled;
    Orders _orders;                    // guarded by _mutex
    Status _status;                    // guarded by _mutex
    std::uint64_t _settledNumber = 0;  // guarded by _mutex
    bool _isAwake = false;             // guarded by _mutex
    bool _isStopping = false;          // guarded by _mutex

    // Watching thread.
    Orders _target;
    std::uint64_t _reached = 0;
    std::optional<Playing> _playing;
    std::optional<DeviceHunt> _hunt;
    bool _isHuntLoud = true;
    TimePoint _nextHunt{};
    TimePoint _silentSince{};
    TimePoint _nextHousekeeping{};
    TimePoint _nextRefresh{};
    std::uint64_t _formerXruns = 0;

    DeviceHunt::Workers _workers;  // made once; their operations are for any thread
    std::jthread _thread;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Graph/AudioPlatform.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"
#include "Tests/Fakes/DrivenClock.h"
#include "Tests/Fakes/FakeApplication.h"
#include "Tests/Fakes/OneOf.h"
#include "Tests/Fakes/PrivateDataFolder.h"
#include "Tests/Fakes/RecordingInstrument.h"
#include "Tests/Fakes/StillDevice.h"

#include <array>
#include <cmath>
#include <memory>
#include <vector>

namespace zelvane {

/// The audio side of a player in simulated time: one loop is main and player thread, one clock drives it and the
/// device, and the device is a call of `renderUntil`.
class PlayerRig {
  public:
    explicit PlayerRig(std::unique_ptr<AudioComponentProvider> provider, double sampleRate = 48000,
                       std::uint32_t period = 256)
        : _sampleRate(sampleRate),
          _period(period),
          platform(
              oneOf<AudioDeviceBackEnd>(std::make_unique<StillBackEnd>(
                  std::vector<std::string>{"still", "Another", "anon"}, AudioDeviceFormat{sampleRate, 2, period, 24})),
              oneOf(std::move(provider))) {
        loop.attachToCurrentThread();
    }

    /// Lets time pass up to a date after the start: due work runs, and blocks are rendered as a device would ask for
    /// them.
    void renderUntil(Duration date) {
        while (blockTime(_frame) < DrivenClock::kStart + date) renderBlock();
    }

    /// Runs what is due, and lets no time pass.
    void runDue() { runUntil(loop, clock.now()); }

    void renderBlock() {
        const TimePoint start = blockTime(_frame);
        runUntil(loop, start);
        std::array<float*, 2> outputs{left.data(), right.data()};
        platform.graph.render({.start = start,
                               .startIsExact = true,
                               .isDiscontinuous = false,
                               .frames = _period,
                               .periodFrames = _period,
                               .outputs = outputs});
        _frame += _period;
    }

    /// Runs work with that event time, as the arrival of a packet would.
    void at(Duration date, RunLoop::Work work) {
        loop.add(std::make_shared<Timer>(DrivenClock::kStart + date, Duration::zero(),
                                         [work = std::move(work)](Timer&) { work(); }));
    }

    PrivateDataFolder data;
    DrivenClock clock;
    RunLoop loop{clock};
    FakeApplication application{loop};
    std::array<float, 8192> left{}, right{};

  private:
    TimePoint blockTime(std::int64_t frame) const {
        return DrivenClock::kStart + Duration(std::llround(static_cast<double>(frame) / _sampleRate * 1e9));
    }

    const double _sampleRate;
    const std::uint32_t _period;
    std::int64_t _frame = 0;

  public:
    AudioPlatform platform;
};

}  // namespace zelvane

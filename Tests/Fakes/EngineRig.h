// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/Zelvane/AudioEngine/AudioEngine.h"
#include "Tests/Fakes/FakeViewControllers.h"
#include "Tests/Fakes/PlayerRig.h"

#include <array>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace zelvane {

/// An engine on recording instruments, with editors where a test wants them.
struct EngineRig {
    explicit EngineRig(std::vector<std::string> instruments = {"DLSMusicDevice", "zither", "Alphorn"},
                       std::set<int> failing = {}, bool hasEditors = false)
        : provider(new RecordingProvider(std::move(instruments))),
          rig(std::unique_ptr<AudioComponentProvider>(provider)) {
        provider->failing = std::move(failing);
        if (hasEditors) rig.platform.components.setViewControllerProvider(std::make_shared<FakeViewControllers>());
        engine = std::make_unique<AudioEngine>(rig.loop, rig.platform, rig.application, defaults);
    }

    AudioUnit* audioUnit(std::int32_t number) const { return engine->audioUnitFromMicroUnit(number); }
    RecordingInstrument& unit(std::int32_t number) const {
        auto* unit = dynamic_cast<InstrumentUnit*>(audioUnit(number));
        return const_cast<RecordingInstrument&>(dynamic_cast<const RecordingInstrument&>(unit->instrument()));
    }

    void runDue() { rig.runDue(); }

    /// What the units got besides their tunings, as (unit, status, data 1, data 2).
    std::vector<std::array<int, 4>> played() {
        rig.renderUntil(rig.clock.now() - DrivenClock::kStart + std::chrono::milliseconds(200));
        std::vector<std::array<int, 4>> all;
        for (std::int32_t number = 10; number >= 1; --number) {
            for (const PlayedEvent& event : unit(number).played) {
                if ((event.status & 0xF0) != 0xE0) all.push_back({number, event.status, event.data1, event.data2});
            }
        }
        return all;
    }

    TemporaryFolder folder;
    UserDefaults defaults{folder.path / "defaults.plist"};
    RecordingProvider* provider;
    PlayerRig rig;
    std::unique_ptr<AudioEngine> engine;
};

}  // namespace zelvane

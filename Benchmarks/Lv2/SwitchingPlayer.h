// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/Null/NullBackEnd.h"
#include "Platform/Audio/Graph/AudioPlatform.h"
#include "Platform/Foundation/Thread.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"
#include "Tests/Fakes/FakeApplication.h"
#include "Tests/Fakes/ListedLv2Instruments.h"
#include "Tests/Fakes/OneOf.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace zelvane {

/// The player's engine on the paced device, with a player thread of its own.
class SwitchingPlayer {
  public:
    explicit SwitchingPlayer(std::vector<Lv2Entry> entries) {
        setenv("XDG_DATA_HOME", _folder.path.c_str(), 1);
        _mainLoop.attachToCurrentThread();
        _platform = std::make_unique<AudioPlatform>(
            oneOf<AudioDeviceBackEnd>(std::make_unique<NullBackEnd>()),
            oneOf<AudioComponentProvider>(std::make_unique<ListedLv2Instruments>(std::move(entries))));
        engine = std::make_unique<AudioEngine>(_playerLoop, *_platform, _application, _defaults);
    }
    ~SwitchingPlayer() {
        engine.reset();
        _playerLoop.end();
        _player.join();
    }

  private:
    TemporaryFolder _folder;
    UserDefaults _defaults{_folder.path / "defaults.plist"};
    RunLoop _mainLoop, _playerLoop;
    FakeApplication _application{_mainLoop};
    std::jthread _player = startThread("player", ThreadRole::player, [this] {
        _playerLoop.attachToCurrentThread();
        _playerLoop.run();
    });
    std::unique_ptr<AudioPlatform> _platform;

  public:
    std::unique_ptr<AudioEngine> engine;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PYMIDI/PYMIDIManager.h"
#include "Platform/MIDI/MIDIService.h"
#include "Platform/MIDI/Memory/MemoryMIDIBackEnd.h"
#include "Tests/Fakes/OneOf.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <memory>

namespace zelvane {

/// A MIDI service in memory; the shared manager goes with it.
class MemoryMIDI {
  public:
    explicit MemoryMIDI(RunLoop& runLoop) : _runLoop(runLoop) { restart(); }
    ~MemoryMIDI() { PYMIDIManager::releaseSharedInstance(); }

    /// A new run of the program: what is plugged in stays away, the file of unique IDs stays.
    void restart() {
        PYMIDIManager::releaseSharedInstance();
        _service.reset();
        auto only = std::make_unique<MemoryMIDIBackEnd>();
        backEnd = only.get();
        _service =
            std::make_unique<MIDIService>(oneOf<MIDIBackEnd>(std::move(only)), _runLoop, _folder.path / "ids.plist");
    }

    PYMIDIManager& manager() { return *PYMIDIManager::sharedInstance(); }
    std::string plugIn(const std::string& deviceName, const std::string& name) {
        return backEnd->plugIn(MIDIDirection::source, deviceName, name);
    }

    MemoryMIDIBackEnd* backEnd = nullptr;

  private:
    RunLoop& _runLoop;
    TemporaryFolder _folder;
    std::unique_ptr<MIDIService> _service;
};

}  // namespace zelvane

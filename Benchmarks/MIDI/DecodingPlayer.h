// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PYMIDI/PYMIDIEndpoint.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"
#include "Sources/Zelvane/MIDIDecoder/MIDIDecoder.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/PlayerRig.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <cstddef>
#include <memory>
#include <utility>

namespace zelvane {

/// The MIDI side of a player on instruments that keep what they are told, in simulated time.
class DecodingPlayer {
  public:
    DecodingPlayer();

    /// What `renderBlock` lets pass.
    static Duration timeOfBlock();
    TimePoint now() const { return _rig.clock.now(); }

    void take(MIDIPacketList packets) { _decoder->processMIDIPacketList(packets, _keyboard); }
    /// The messages that are due go to the units, and a block of all ten is rendered.
    void renderBlock() { _rig.renderBlock(); }

    /// Plays what is still on its way and tells how many messages the instruments got since the last time.
    std::size_t takePlayed();

  private:
    struct IdleChecker : StatusChecker {
        void checkStatus() override {}
    };

    LogLines _log;  // which tells nothing here
    // The provider belongs to the rig.
    std::unique_ptr<RecordingProvider> _madeForRig = std::make_unique<RecordingProvider>();
    RecordingProvider& _provider = *_madeForRig;
    PlayerRig _rig{std::move(_madeForRig)};
    TemporaryFolder _folder;
    UserDefaults _defaults{_folder.path / "defaults.plist"};
    AudioEngine _engine{_rig.loop, _rig.platform, _rig.application, _defaults};
    IdleChecker _checker;
    std::shared_ptr<MIDIDecoder> _decoder = std::make_shared<MIDIDecoder>(
        MIDIDecoder::Collaborators{_engine, _rig.loop, _rig.application, _defaults, _checker});
    PYMIDIEndpoint _keyboard{"keyboard", 1};
};

}  // namespace zelvane

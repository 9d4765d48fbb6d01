// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks/OSC/PlayerSubjects.h"

#include "Platform/OSC/OSCPacket.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaController.h"
#include "Sources/Zelvane/OSCDecoder/OSCDecoder.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/PlayerRig.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <memory>

namespace zelvane {

namespace {

using namespace std::chrono_literals;

struct IdleChecker : StatusChecker {
    void checkStatus() override {}
};

/// A decoder on recording instruments in simulated time.
class Dispatcher {
  public:
    bool dispatch(std::span<const std::byte> bytes) {
        OSCParseResult result = parseOSCPacket(bytes);
        if (!result.isPacket()) return false;
        _decoder->gotOSCPacket(result.packet());
        return true;
    }

    /// Lets the notes end, and the units take what they were sent.
    void rest() {
        _decoder->gotOSCPacket({OSCMessage{"/vesk.µq/reset", {}}});
        _now += 100ms;
        _rig.renderUntil(_now);
    }

  private:
    LogLines _log;  // which tells nothing here
    PlayerRig _rig{std::make_unique<RecordingProvider>()};
    TemporaryFolder _folder;
    UserDefaults _defaults{_folder.path / "defaults.plist"};
    AudioEngine _engine{_rig.loop, _rig.platform, _rig.application, _defaults};
    ScalaController _scala{_defaults, [](const Error&) {}};
    IdleChecker _checker;
    std::shared_ptr<OSCDecoder> _decoder = std::make_shared<OSCDecoder>(
        OSCDecoder::Collaborators{_engine, _scala, _rig.loop, _rig.application, _defaults, _checker});
    Duration _now{};
};

}  // namespace

Subject playerParser() {
    return {"Zelvane, parseOSCPacket", [](Bytes& bytes) { return parseOSCPacket(bytes).isPacket(); }};
}

Subject playerDispatcher() {
    auto dispatcher = std::make_shared<Dispatcher>();
    return {"Zelvane, parseOSCPacket, gotOSCPacket", [dispatcher](Bytes& bytes) { return dispatcher->dispatch(bytes); },
            [dispatcher] { dispatcher->rest(); }};
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Log.h"
#include "Platform/OSC/OSCPacket.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaController.h"
#include "Sources/Zelvane/OSCDecoder/OSCDecoder.h"
#include "Tests/Fakes/PlayerRig.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace zelvane {
namespace {

struct NoChecker : StatusChecker {
    void checkStatus() override {}
};

/// A whole decoder in simulated time that lives through all inputs, as a player lives through all clients.
class Dispatcher {
  public:
    Dispatcher() {
        _defaults.setSaveHandler([] {});
        _defaults.registerDefaults({{"outPort", {std::int64_t{9}}}});
        _engine.setIsListening(true);
    }

    void take(const OSCPacket& packet) {
        _rig.loop.perform([&] { _decoder->oscConnection(_decoder->connection(), packet, "127.0.0.1", 9); });
        letTimePass();
        if (++_inputs % 64 == 0) _rig.renderBlock();
        // A stream that is never started would fill the memory, and so would what is told of errors.
        if (_inputs % 4096 == 0) forgetStreams();
        _rig.application.errors.clear();
        if (!_engine.allMicroUnitsAreSetUp() || _rig.loop.hasEnded()) std::abort();
    }

  private:
    // The second one is for the list of those that are paused, which a reset keeps.
    void forgetStreams() {
        for (const char* address : {"/vesk.µq/reset", "/vesk.µq/pause"})
            _decoder->gotOSCPacket(OSCPacket{OSCMessage{address, {}}});
    }

    void letTimePass() {
        const TimePoint end = _rig.clock.now() + std::chrono::milliseconds(5);
        for (int i = 0; i < 256 && _rig.loop.runOnce(end); ++i) {
        }
    }

    Log::Redirection _silence = Log::redirect([](std::string_view) {});
    TemporaryFolder _folder;
    UserDefaults _defaults{_folder.path / "defaults.plist"};
    PlayerRig _rig{std::make_unique<RecordingProvider>()};
    AudioEngine _engine{_rig.loop, _rig.platform, _rig.application, _defaults};
    ScalaController _scala{_defaults, [](const Error&) {}};
    NoChecker _checker;
    std::shared_ptr<OSCDecoder> _decoder = std::make_shared<OSCDecoder>(
        OSCDecoder::Collaborators{_engine, _scala, _rig.loop, _rig.application, _defaults, _checker});
    std::uint64_t _inputs = 0;
};

}  // namespace
}  // namespace zelvane

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static auto* dispatcher = new zelvane::Dispatcher;
    auto parsed = zelvane::parseOSCPacket(std::as_bytes(std::span(data, size)));
    if (parsed.isPacket()) dispatcher->take(parsed.packet());
    return 0;
}

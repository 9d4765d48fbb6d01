// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Log.h"
#include "Sources/Zelvane/MIDIDecoder/MIDIMessageCutter.h"
#include "Sources/Zelvane/Zelvane.h"
#include "Tests/Fakes/MemoryMIDI.h"
#include "Tests/Fakes/PlayerRig.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace zelvane {
namespace {

using Packets = std::vector<std::vector<std::uint8_t>>;

/// The first byte of an input says where its packets are cut.
Packets packetsOf(std::span<const std::uint8_t> input) {
    const std::size_t length = 1 + input[0] % 16U;
    Packets packets;
    for (auto rest = input.subspan(1); !rest.empty(); rest = rest.subspan(packets.back().size())) {
        const auto packet = rest.first(std::min(length, rest.size()));
        packets.emplace_back(packet.begin(), packet.end());
    }
    return packets;
}

/// Only the first byte of a message is a status byte, and where packets end makes no difference.
void checkCutting(const Packets& packets) {
    const auto messagesOf = [](const Packets& from) {
        std::vector<MIDIPacket> list;
        for (const auto& bytes : from) list.push_back({TimePoint(), bytes});
        Packets messages;
        MIDIMessageCutter().cut(list, [&](auto message, TimePoint) {
            if (message.empty() || message.size() > 256) std::abort();
            for (const std::uint8_t byte : message.subspan(1)) {
                if (byte >= 0x80) std::abort();
            }
            messages.emplace_back(message.begin(), message.end());
        });
        return messages;
    };
    Packets whole(1);
    for (const auto& bytes : packets) whole[0].insert(whole[0].end(), bytes.begin(), bytes.end());
    if (messagesOf(packets) != messagesOf(whole)) std::abort();
}

/// A whole player in simulated time that lives through all inputs.
class MidiFuzzPlayer {
  public:
    MidiFuzzPlayer() { _player.setIsListening(true); }

    void take(const Packets& packets) {
        _midi.backEnd->playTo("Zelvane", packets, _rig.clock.now());
        letTimePass();
        if (++_inputs % 64 == 0) _rig.renderBlock();
        if (_inputs % 256 == 0) changeInput();
        if (!_player.audioEngine().allMicroUnitsAreSetUp() || _rig.loop.hasEnded()) std::abort();
    }

  private:
    void letTimePass() {
        const TimePoint end = _rig.clock.now() + std::chrono::milliseconds(5);
        while (_rig.loop.runOnce(end)) {
        }
    }

    void changeInput() {
        _player.setMidiInput(nullptr);
        _player.setMidiInput(_player.virtualMidiInput());
    }

    Log::Redirection _silence = Log::redirect([](std::string_view) {});
    TemporaryFolder _folder;
    UserDefaults _defaults{_folder.path / "defaults.plist"};
    PlayerRig _rig{std::make_unique<RecordingProvider>()};
    MemoryMIDI _midi{_rig.loop};
    Zelvane _player{_rig.loop, _rig.platform, _rig.application, _defaults};
    std::uint64_t _inputs = 0;
};

}  // namespace
}  // namespace zelvane

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static auto* player = new zelvane::MidiFuzzPlayer;
    static std::uint64_t inputs = 0;
    if (size == 0) return 0;
    const auto packets = zelvane::packetsOf({data, size});
    zelvane::checkCutting(packets);
    // Playing takes a hundred times as long as cutting, and has less to go wrong in.
    if (++inputs % 64 == 0) player->take(packets);
    return 0;
}

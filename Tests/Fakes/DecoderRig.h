// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/Zelvane/AudioEngine/AudioEngine.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaController.h"
#include "Sources/Zelvane/OSCDecoder/OSCDecoder.h"
#include "Tests/Fakes/PlayerRig.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace zelvane {

struct CountingChecker : StatusChecker {
    void checkStatus() override { ++checks; }
    int checks = 0;
};

/// A decoder on an engine of recording instruments in simulated time.
struct DecoderRig {
    explicit DecoderRig(std::uint32_t period = 256)
        : rig(std::make_unique<RecordingProvider>(), 48000, period),
          engine(rig.loop, rig.platform, rig.application, defaults) {
        defaults.registerDefaults({{"outPort", {std::int64_t{3010}}}});
        engine.setIsListening(true);
    }

    void sendAt(Duration date, OSCMessage message) {
        rig.at(date, [this, packet = OSCPacket{std::move(message)}] {
            decoder->oscConnection(decoder->connection(), packet, "127.0.0.1", 5000);
        });
    }

    void sendAt(Duration date, const char* address) { sendAt(date, OSCMessage{address, {}}); }

    void fifosAt(Duration date, double delta, float pitch, int velocity = 100, int length = 100, int channel = 1) {
        sendAt(date, {"/vesk.µq/fifos", {{delta}, {pitch}, {velocity}, {length}, {channel}}});
    }

    std::vector<PlayedEvent> eventsOf(std::int32_t number) {
        auto* unit = dynamic_cast<InstrumentUnit*>(engine.audioUnitFromMicroUnit(number));
        if (unit == nullptr) return {};
        auto events = dynamic_cast<const RecordingInstrument&>(unit->instrument()).played;
        std::erase_if(events, [](const PlayedEvent& event) { return (event.status & 0xF0) == 0xE0; });
        return events;
    }

    /// The notes of all units in the order of their frames.
    std::vector<PlayedEvent> notes() {
        std::vector<PlayedEvent> all;
        for (std::int32_t number = 1; number <= 10; ++number) {
            for (const auto& event : eventsOf(number)) {
                if ((event.status & 0xF0) == 0x90) all.push_back(event);
            }
        }
        std::stable_sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.frame < b.frame; });
        return all;
    }

    /// Frames from the first note to each note.
    std::vector<std::int64_t> onsets() {
        std::vector<std::int64_t> all;
        const auto played = notes();
        for (const auto& note : played) all.push_back(note.frame - played.front().frame);
        return all;
    }

    TemporaryFolder folder;
    UserDefaults defaults{folder.path / "defaults.plist"};
    PlayerRig rig;
    AudioEngine engine;
    ScalaController scala{defaults, [](const Error&) {}};
    CountingChecker checker;
    std::shared_ptr<OSCDecoder> decoder = std::make_shared<OSCDecoder>(
        OSCDecoder::Collaborators{engine, scala, rig.loop, rig.application, defaults, checker});
};

}  // namespace zelvane

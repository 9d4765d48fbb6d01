// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Log.h"
#include "Sources/Zelvane/Zelvane.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/MemoryMIDI.h"
#include "Tests/Fakes/PlayerRig.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <optional>

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using Bytes = std::vector<std::uint8_t>;

/// What a unit was sent, without the time.
using Event = std::array<int, 3>;

/// A whole player on recording instruments and MIDI in memory, in simulated time.
class MidiPlayer : public testing::Test {
  protected:
    void start() {
        player.emplace(rig.loop, rig.platform, rig.application, defaults);
        player->setIsListening(true);
    }

    void playAt(Duration date, std::vector<Bytes> packets) {
        rig.at(date, [this, packets = std::move(packets)] {
            EXPECT_TRUE(midi.backEnd->playTo("Zelvane", packets, RunLoop::now()));
        });
    }

    std::vector<PlayedEvent> playedBy(std::int32_t number) {
        auto* unit = dynamic_cast<InstrumentUnit*>(player->audioEngine().audioUnitFromMicroUnit(number));
        return dynamic_cast<const RecordingInstrument&>(unit->instrument()).played;
    }

    /// All but what detunes the unit at the start.
    std::vector<Event> eventsOf(std::int32_t number) {
        std::vector<Event> events;
        for (const PlayedEvent& event : playedBy(number)) events.push_back({event.status, event.data1, event.data2});
        const auto isDetuning = [](const Event& event) { return (event[0] & 0xF0) == 0xE0; };
        events.erase(events.begin(), std::find_if_not(events.begin(), events.end(), isDetuning));
        return events;
    }

    TemporaryFolder folder;
    UserDefaults defaults{folder.path / "defaults.plist"};
    PlayerRig rig{std::make_unique<RecordingProvider>()};
    MemoryMIDI midi{rig.loop};
    LogLines log;
    std::optional<Zelvane> player;
};

TEST_F(MidiPlayer, BytesAreCutIntoMessagesAtEveryStatusByte) {
    start();
    playAt(100ms, {{0x90, 60, 0}, {0x95, 64}, {100}, {0x90, 0xF8, 61, 64}, {0x90, 62, 64, 63, 64}});
    playAt(200ms, {{0xC2, 5}, {0xF0, 0x7E, 0x7F, 0xF7}, {0x80, 60}, {0x90}});
    playAt(300ms, {{64, 65, 66}});
    rig.renderUntil(500ms);
    EXPECT_THAT(eventsOf(10), ElementsAre(Event{0x80, 60, 0}, Event{0x95, 64, 100}, Event{0x90, 61, 64},
                                          Event{0x90, 62, 64}, Event{0xC2, 5, 0}));
    // The units refuse what is no channel message, but for them it was meant.
    EXPECT_THAT(eventsOf(2), ElementsAre(Event{0xC2, 5, 0}));
    EXPECT_THAT(eventsOf(1), IsEmpty()) << "controllers go to the units 10 to 2";
}

TEST_F(MidiPlayer, ALongMessageIsCutAndNothingOfItIsTakenForAnother) {
    start();
    Bytes dump(1000, 0x11);
    dump[0] = 0xB3;
    dump[300] = 0x90;
    dump[301] = 60;
    dump[302] = 70;
    playAt(100ms, {dump, {0x80, 60, 0}});
    rig.renderUntil(300ms);
    EXPECT_THAT(eventsOf(10), ElementsAre(Event{0xB3, 0x11, 0x11}, Event{0x90, 60, 70}, Event{0x80, 60, 0}));
}

TEST_F(MidiPlayer, NothingComesInWhileItDoesNotListen) {
    start();
    player->setIsListening(false);
    player->setIsRecordingEnabled(true);
    playAt(100ms, {{0x90, 60, 100}});
    rig.renderUntil(200ms);
    EXPECT_THAT(eventsOf(10), IsEmpty());
    EXPECT_TRUE(player->isRecordingEnabled()) << "an armed recording starts with what is heard";
    player->setIsListening(true);
    playAt(300ms, {{0x90, 60, 100}});
    rig.renderUntil(400ms);
    EXPECT_THAT(eventsOf(10), ElementsAre(Event{0x90, 60, 100}));
    EXPECT_FALSE(player->isRecordingEnabled());
    EXPECT_EQ(rig.application.statusChanges, 1);
}

TEST_F(MidiPlayer, KeysKeepTheirDistancesToTheFrameWhateverTheBlocks) {
    start();
    for (int n = 0; n < 40; ++n) {
        const Duration date = 100ms + n * 7130us;
        // As JACK does: announced before it is due, and several at a time.
        rig.at(date - Duration(n % 5 * 1000000), [this, date] {
            midi.backEnd->playTo("Zelvane", {{0x90, 60, 100}}, DrivenClock::kStart + date);
        });
    }
    rig.renderUntil(2s);
    std::vector<std::int64_t> frames;
    for (const PlayedEvent& event : playedBy(10)) {
        if (event.status == 0x90) frames.push_back(event.frame);
    }
    ASSERT_THAT(frames, SizeIs(40));
    for (std::size_t n = 0; n < frames.size(); ++n) {
        EXPECT_NEAR(double(frames[n] - frames[0]), double(n) * 0.00713 * 48000, 1) << n;
    }
}

TEST_F(MidiPlayer, ATuningThatCannotBeBuiltIsToldAndTheRestPlaysOn) {
    defaults.set("tuning", {folder.write("bad.scl", "bare number\n2\n1.5\n2\n")});
    defaults.set("keymap", {folder.path / "missing.kbm"});
    start();
    EXPECT_THAT(log.all(), Contains(HasSubstr("unable to build the key table")));
    ASSERT_THAT(rig.application.errors, SizeIs(1));
    EXPECT_EQ(rig.application.errors[0].domain, "MIDIKeyboardConfiguration");
    EXPECT_TRUE(player->tuningIsChanged());
    EXPECT_FALSE(player->keymapIsChanged());
    player->setTuningIsChanged(true);
    EXPECT_TRUE(player->keymapIsChanged()) << "the flag that it sets";
    player->restoreTuningMap();
    player->restoreKeymap();
    player->updateMicromidiMap();
    EXPECT_FALSE(player->keymapIsChanged());
    playAt(100ms, {{0x90, 60, 100}});
    rig.renderUntil(200ms);
    EXPECT_THAT(eventsOf(10), ElementsAre(Event{0x90, 60, 100}));
    // The OSC side has a tuning of its own.
    EXPECT_FALSE(player->openTuning(std::nullopt));
    EXPECT_TRUE(player->openTuning(std::string()));
}

TEST_F(MidiPlayer, WithoutMIDIItSaysSoAndTheRestWorks) {
    midi.backEnd->isAvailable = false;
    start();
    EXPECT_FALSE(player->midiEnable());
    EXPECT_THAT(log.all(), Contains("Zelvane: [initWithThread:] unable to initialize MIDI, all MIDI functions are "
                                    "disabled."));
    EXPECT_THAT(rig.application.errors,
                ElementsAre(Error{"MIDIConfiguration", 1,
                                  "Sorry, unable to initialize MIDI. All MIDI functions are disabled."}));
    player->setMidiInputByName("Keys A");
    player->setMidiInput(nullptr);
    EXPECT_THAT(rig.application.errors, SizeIs(1));
}

TEST_F(MidiPlayer, TheStoredInputComesBackByArchiveOrName) {
    midi.plugIn("Keys", "A");
    midi.plugIn("Keys", "B");
    defaults.set("midi", {std::string("Keys B")});
    start();
    EXPECT_EQ(player->midiInput()->displayName(), "Keys B");
    defaults.set("midiEndpoint", {Zelvane::encodeMidiEndpoint(midi.manager().realSources().at(0))});
    player.reset();
    midi.restart();
    start();
    EXPECT_EQ(player->midiInput()->displayName(), "Keys A (offline)");
    const std::string address = midi.plugIn("Keys", "A");
    rig.at(300ms, [&] { EXPECT_TRUE(midi.backEnd->play(address, {0x90, 60, 100}, RunLoop::now())); });
    rig.at(400ms, [&] { midi.backEnd->unplug(address); });
    rig.renderUntil(500ms);
    EXPECT_THAT(eventsOf(10), ElementsAre(Event{0x90, 60, 100}, Event{0x80, 60, 0})) << "a note hangs";
    EXPECT_EQ(Zelvane::decodeMidiEndpoint({}), nullptr);
    defaults.set("midi", {std::string("Zelvane")});
    defaults.remove("midiEndpoint");
    player.reset();
    start();
    EXPECT_EQ(player->midiInput(), player->virtualMidiInput());
}

TEST_F(MidiPlayer, AnInputThatIsNotThereIsToldAndTheCurrentOneStays) {
    start();
    playAt(100ms, {{0x90, 60, 100}});
    rig.renderUntil(200ms);
    player->setMidiInputByName("nothing");
    EXPECT_THAT(log.all(), Contains("Zelvane: [setMidiInputByName:] unable to find MIDI Input nothing, using Zelvane "
                                    "instead"));
    EXPECT_THAT(
        rig.application.errors,
        ElementsAre(Error{"MIDIConfiguration", 2, "Sorry, unable to find MIDI Input nothing, using Zelvane instead"}));
    EXPECT_EQ(defaults.string("midi"), "Zelvane");
    EXPECT_EQ(player->midiInput(), player->virtualMidiInput());

    // The other program keeps its key down and is no longer heard.
    midi.plugIn("Keys", "A");
    rig.renderUntil(400ms);
    player->setMidiInputByName("Keys A");
    EXPECT_EQ(player->midiInput()->displayName(), "Keys A");
    playAt(500ms, {{0x90, 61, 100}});
    rig.renderUntil(600ms);
    EXPECT_THAT(eventsOf(10), ElementsAre(Event{0x90, 60, 100}, Event{0x80, 60, 0})) << "a note hangs";
    player->setMidiInputByName("Zelvane");
    EXPECT_EQ(player->midiInput(), player->virtualMidiInput());
}

}  // namespace
}  // namespace zelvane

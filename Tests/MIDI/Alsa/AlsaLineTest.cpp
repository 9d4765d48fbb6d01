// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Alsa/AlsaLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvane {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;

constexpr AlsaAddress kKeyboard{20, 0};
constexpr AlsaAddress kSequencer{128, 1};
constexpr TimePoint kStart{std::chrono::hours(5)};

snd_seq_event_t eventFrom(AlsaAddress sender, int type) {
    snd_seq_event_t event{};
    event.type = static_cast<snd_seq_event_type_t>(type);
    event.source = {static_cast<unsigned char>(sender.client), static_cast<unsigned char>(sender.port)};
    return event;
}

snd_seq_event_t noteOn(AlsaAddress sender, int key, int channel = 0) {
    snd_seq_event_t event = eventFrom(sender, SND_SEQ_EVENT_NOTEON);
    event.data.note.channel = static_cast<unsigned char>(channel);
    event.data.note.note = static_cast<unsigned char>(key);
    event.data.note.velocity = 100;
    return event;
}

snd_seq_event_t controller(int type, unsigned parameter, int value) {
    snd_seq_event_t event = eventFrom(kKeyboard, type);
    event.data.control.channel = 2;
    event.data.control.param = parameter;
    event.data.control.value = value;
    return event;
}

/// Keeps what a line hands on.
class AlsaLineTest : public ::testing::Test, public MIDIBackEndListener {
  protected:
    void setupChanged() override {}
    void received(MIDILineID line, MIDIPacketList packets) override {
        EXPECT_EQ(line, 7U);
        ++_lists;
        for (const MIDIPacket& packet : packets) {
            _messages.emplace_back(packet.data.begin(), packet.data.end());
            _times.push_back(packet.timeStamp);
        }
    }

    void take(const snd_seq_event_t& event) { _line.take(event, _decoder, _time += std::chrono::milliseconds(1)); }

    void takePiece(AlsaAddress sender, Bytes bytes) {
        snd_seq_event_t event = eventFrom(sender, SND_SEQ_EVENT_SYSEX);
        event.data.ext.len = static_cast<unsigned>(bytes.size());
        event.data.ext.ptr = bytes.data();
        take(event);
    }

    /// What has come since the last time.
    std::vector<Bytes> delivered() {
        _messages.clear();
        _times.clear();
        _line.deliver(*this);
        return _messages;
    }

    AlsaLine _line{7};
    AlsaEventDecoder _decoder;
    TimePoint _time = kStart;
    int _lists = 0;
    std::vector<Bytes> _messages;
    std::vector<TimePoint> _times;
};

TEST_F(AlsaLineTest, HandsABatchOnInOneListInItsOrder) {
    take(noteOn(kKeyboard, 60));
    take(noteOn(kSequencer, 61, 15));
    take(controller(SND_SEQ_EVENT_PITCHBEND, 0, -8192));
    EXPECT_THAT(delivered(), ElementsAre(Bytes{0x90, 60, 100}, Bytes{0x9F, 61, 100}, Bytes{0xE2, 0, 0}));
    EXPECT_THAT(_times, ElementsAre(kStart + std::chrono::milliseconds(1), kStart + std::chrono::milliseconds(2),
                                    kStart + std::chrono::milliseconds(3)));
    EXPECT_EQ(_lists, 1);
    EXPECT_THAT(delivered(), IsEmpty());
    EXPECT_EQ(_lists, 1);
}

TEST_F(AlsaLineTest, WritesTheStatusOfEveryMessage) {
    take(noteOn(kKeyboard, 60));
    take(noteOn(kKeyboard, 64));
    take(controller(SND_SEQ_EVENT_CONTROL14, 1, 0x3FFF));
    take(controller(SND_SEQ_EVENT_REGPARAM, 0, 2 << 7));
    EXPECT_THAT(delivered(), ElementsAre(Bytes{0x90, 60, 100}, Bytes{0x90, 64, 100}, Bytes{0xB2, 1, 127, 0xB2, 33, 127},
                                         Bytes{0xB2, 101, 0, 0xB2, 100, 0, 0xB2, 6, 2, 0xB2, 38, 0}));
}

TEST_F(AlsaLineTest, LeavesClockAndWhatIsNoMessageOut) {
    for (const int type : {SND_SEQ_EVENT_CLOCK, SND_SEQ_EVENT_TICK, SND_SEQ_EVENT_SENSING, SND_SEQ_EVENT_ECHO,
                           SND_SEQ_EVENT_PORT_SUBSCRIBED}) {
        take(eventFrom(kKeyboard, type));
    }
    take(eventFrom(kKeyboard, SND_SEQ_EVENT_START));
    EXPECT_THAT(delivered(), ElementsAre(Bytes{0xFA}));
}

TEST_F(AlsaLineTest, PutsSystemExclusivePiecesOfEachSenderTogether) {
    takePiece(kKeyboard, {0xF0, 1, 2});
    takePiece(kSequencer, {0xF0, 9});
    take(noteOn(kKeyboard, 60));
    takePiece(kKeyboard, {3, 0xF8, 4, 0xF7, 0xF0, 5, 0xF7, 6});
    takePiece(kSequencer, {10, 0xF7});
    EXPECT_THAT(delivered(), ElementsAre(Bytes{0x90, 60, 100}, Bytes{0xF0, 1, 2, 3, 4, 0xF7}, Bytes{0xF0, 5, 0xF7},
                                         Bytes{0xF0, 9, 10, 0xF7}));
}

TEST_F(AlsaLineTest, EndsTheNotesOfTheSenderThatGoesAndOfNoOther) {
    take(noteOn(kKeyboard, 60, 3));
    take(noteOn(kSequencer, 60, 3));
    take(noteOn(kSequencer, 72));
    delivered();
    _line.endSender({kKeyboard.client, kKeyboard.port + 1}, _time);
    EXPECT_THAT(delivered(), IsEmpty());
    _line.endSender(kKeyboard, _time);
    EXPECT_THAT(delivered(), ElementsAre(Bytes{0x83, 60, 64}));
    _line.endSender({kSequencer.client, -1}, _time);
    EXPECT_THAT(delivered(), ElementsAre(Bytes{0x80, 72, 64}, Bytes{0x83, 60, 64}));
    _line.endAllSenders(_time);
    EXPECT_THAT(delivered(), IsEmpty());
}

}  // namespace

}  // namespace zelvane

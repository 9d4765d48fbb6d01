// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Machine/AlsaBackEndTest.h"
#include "Tests/Machine/SequencerPeer.h"

namespace zelvane {

namespace {

using ::testing::ElementsAre;

/// Notes of two senders sound on one line: only those of the one that goes away may end.
class AlsaSendersTest : public AlsaBackEndTest {
  protected:
    AlsaSendersTest() {
        EXPECT_TRUE(_backEnd->createVirtual(1, MIDIDirection::destination, "Zelvane"));
        const AlsaAddress destination = _staying.find("Zelvane", "Zelvane");
        EXPECT_TRUE(_staying.connectTo(destination));
        EXPECT_TRUE(_leaving->connectTo(destination));
        _staying.send(SequencerPeer::noteOn(50));
        _leaving->send(SequencerPeer::noteOn(60, 100, 2));
        _leaving->send(SequencerPeer::noteOn(61, 100, 2));
        _leaving->send(SequencerPeer::noteOff(61, 2));
        EXPECT_TRUE(hears(4));
        _recorder.forget();
    }

    /// The first that comes next is the end of the one note, and what the other sends follows.
    void expectEnding() {
        ASSERT_TRUE(hears(1));
        _staying.send(SequencerPeer::noteOff(50));
        ASSERT_TRUE(hears(2));
        EXPECT_THAT(_recorder.messages(), ElementsAre(Bytes{0x82, 60, 64}, Bytes{0x80, 50, 0}));
    }

    SequencerPeer _staying{"Sequencer", "Out"};
    std::optional<SequencerPeer> _leaving{std::in_place, "Sequencer", "Out"};
};

TEST_F(AlsaSendersTest, ADisconnectedSendersNotesEnd) {
    _leaving->disconnectFrom(_leaving->find("Zelvane", "Zelvane"));
    expectEnding();
}

TEST_F(AlsaSendersTest, NotesOfAPortThatIsRemovedEnd) {
    _leaving->removePort();
    expectEnding();
}

TEST_F(AlsaSendersTest, NotesOfAProgramThatExitsEnd) {
    _leaving.reset();
    expectEnding();
}

TEST_F(AlsaSendersTest, NotesOfOneThatNeverConnectedEndToo) {
    std::optional<SequencerPeer> stranger(std::in_place, "Stranger", "Out");
    stranger->sendTo(stranger->find("Zelvane", "Zelvane"), SequencerPeer::noteOn(70));
    ASSERT_TRUE(hears(1));
    stranger.reset();
    ASSERT_TRUE(hears(2));
    EXPECT_THAT(_recorder.messages(), ElementsAre(Bytes{0x90, 70, 100}, Bytes{0x80, 70, 64}));
}

TEST_F(AlsaSendersTest, ALineThatIsClosedEndsItsNotesBeforeItFallsSilent) {
    ASSERT_TRUE(_backEnd->connectSource(2, source("Sequencer")->address));
    _staying.send(SequencerPeer::noteOn(55));
    ASSERT_TRUE(hears(2));
    _recorder.forget();
    _backEnd->close(2);
    EXPECT_THAT(_recorder.messages(), ElementsAre(Bytes{0x80, 55, 64}));
    _staying.send(SequencerPeer::noteOn(56));
    ASSERT_TRUE(hears(2));
    EXPECT_EQ(_recorder.all().back().line, 1U);
    EXPECT_EQ(_recorder.count(), 2U);
}

TEST_F(AlsaSendersTest, ABackEndThatGoesAwayEndsAllNotes) {
    _backEnd.reset();
    EXPECT_THAT(_recorder.messages(), ::testing::UnorderedElementsAre(Bytes{0x80, 50, 64}, Bytes{0x82, 60, 64}));
}

}  // namespace

}  // namespace zelvane

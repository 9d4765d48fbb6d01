// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/DecoderRig.h"

#include <gtest/gtest.h>

namespace zelvane {
namespace {

using namespace std::chrono_literals;

TEST(PlayerCounters, TellWhatBecameOfEveryMessage) {
    DecoderRig rig;
    const OSCMessage note{"/om/note", {{6000}, {100}, {10}, {1}}};
    rig.sendAt(10ms, note);
    rig.sendAt(10ms, {"/om/note", {{6000}, {0}, {10}, {1}}});
    rig.sendAt(10ms, {"/om/note", {{6000}, {100}, {10}, {17}}});
    rig.sendAt(10ms, {"/om/note", {{6000}}});
    rig.sendAt(10ms, "/om/nothing");
    rig.sendAt(10ms, {"/om/tuning", {{std::string("/nowhere.scl")}}});
    rig.sendAt(10ms, {"/om/ctl", {{7}, {100}, {1}}});
    const OSCPacket bundle{OSCBundle{1, {OSCPacket{note}, OSCPacket{OSCBundle{}}, OSCPacket{note}}}};
    rig.rig.at(20ms, [&] { rig.decoder->oscConnection(rig.decoder->connection(), bundle, "127.0.0.1", 1); });
    for (int n = 0; n < 3; ++n) rig.fifosAt(30ms, 100, 60);
    rig.sendAt(30ms, "/vesk.µq/start");
    rig.rig.renderUntil(180ms);
    const PlayerCounters& counters = rig.engine.counters();
    EXPECT_EQ(counters.oscMessages, 14U);
    EXPECT_EQ(counters.refusedMessages, 4U) << "wrong, unknown, no such file, a bundle in a bundle";
    EXPECT_EQ(counters.notes, 4U) << "one of the stream; neither the silent one nor the one without a channel";
    EXPECT_EQ(counters.queuedNotes, 2U);
    EXPECT_EQ(counters.ignoredPackets, 0U);
    rig.engine.setIsListening(false);
    rig.sendAt(190ms, note);
    rig.rig.renderUntil(200ms);
    EXPECT_EQ(counters.oscMessages, 14U);
    EXPECT_EQ(counters.ignoredPackets, 1U);
}

TEST(PlayerCounters, LateEventsOfAUnitThatIsGoneStillCount) {
    DecoderRig rig;
    rig.rig.renderUntil(500ms);
    const RenderGraph& graph = rig.rig.platform.graph;
    EXPECT_EQ(graph.lateEvents(), 0U);
    rig.rig.loop.performAt(DrivenClock::kStart + 100ms, [&] { rig.engine.handleNoteOnMessage(6000, 100, 1); });
    rig.rig.renderUntil(600ms);
    EXPECT_EQ(rig.notes().size(), 1U);
    EXPECT_EQ(graph.lateEvents(), 1U);
    rig.engine.removeMicroUnit(10);
    EXPECT_EQ(graph.lateEvents(), 1U);
}

}  // namespace
}  // namespace zelvane

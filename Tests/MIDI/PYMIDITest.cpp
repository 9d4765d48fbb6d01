// SPDX-License-Identifier: GPL-3.0-or-later
#include "PYMIDI/PYMIDIEndpointSet.h"
#include "PYMIDI/PYMIDIManager.h"
#include "PYMIDI/PYMIDIUtils.h"
#include "PYMIDI/PYMIDIVirtualDestination.h"
#include "PYMIDI/PYMIDIVirtualSource.h"
#include "Platform/Foundation/Error.h"
#include "Platform/Foundation/NotificationCenter.h"
#include "Platform/MIDI/MIDIServices.h"
#include "Tests/Fakes/DrivenClock.h"
#include "Tests/Fakes/MemoryMIDI.h"

#include <gmock/gmock.h>

#include <span>

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;

struct Listener final : PYMIDIReceiver {
    void processMIDIPacketList(MIDIPacketList packets, PYMIDIEndpoint& /*sender*/) override {
        for (const MIDIPacket& packet : packets) heard.emplace_back(packet.data.begin(), packet.data.end());
    }
    std::vector<Bytes> heard;
};

class PYMIDI : public testing::Test {
  protected:
    /// What a change of the set-up leads to, a moment later.
    void settle() { runUntil(loop, clock.now() + 100ms); }

    std::vector<std::string> names() {
        std::vector<std::string> all;
        for (const auto& source : midi.manager().realSources()) all.push_back(source->displayName());
        return all;
    }

    std::shared_ptr<PYMIDIRealSource> source(const std::string& name) {
        for (const auto& each : midi.manager().realSources()) {
            if (each->displayName() == name) return each;
        }
        return nullptr;
    }

    DrivenClock clock;
    RunLoop loop{clock};
    MemoryMIDI midi{loop};
    Listener listener;
};

TEST_F(PYMIDI, TheManagerIsOneAndIsTriedAgainWhileThereIsNoMIDI) {
    midi.backEnd->isAvailable = false;
    EXPECT_EQ(PYMIDIManager::sharedInstance(), nullptr);
    EXPECT_EQ(PYMIDIVirtualDestination::initWithName("x"), nullptr);
    midi.backEnd->isAvailable = true;
    ASSERT_NE(PYMIDIManager::sharedInstance(), nullptr);
    EXPECT_EQ(PYMIDIManager::sharedInstance(), PYMIDIManager::sharedInstance());
    EXPECT_EQ(midi.manager().nameOfNote(61), "C#4");
    EXPECT_EQ(midi.manager().nameOfNote(0), "C-1");
    EXPECT_EQ(midi.manager().nameOfNote(127), "G9");
    EXPECT_THROW(midi.manager().nameOfNote(128), RangeError);
}

TEST_F(PYMIDI, EndpointsAreNamedAfterDeviceAndPort) {
    midi.plugIn("Keys", "KEYS");
    midi.plugIn("Organ", "upper");
    midi.plugIn("Synth", "Synth MIDI 1");
    midi.plugIn("ab", "abc");
    EXPECT_THAT(names(), ElementsAre("ab abc", "KEYS", "Organ upper", "Synth MIDI 1"));
}

TEST_F(PYMIDI, ADisplayNameListsWhatHangsOnTheConnector) {
    midi.plugIn("Interface", "port 1");
    const auto endpoint = source("Interface port 1");
    ASSERT_NE(endpoint, nullptr);
    MIDIObjectRef first = 0;
    MIDIObjectRef second = 0;
    ASSERT_EQ(MIDIExternalDeviceCreate("Organ", &first), kNoError);
    ASSERT_EQ(MIDIExternalDeviceCreate("Piano", &second), kNoError);
    // In the machine's byte order, with the end of one cut off; the interface itself is no external device.
    std::vector<std::int32_t> ids{0, 0, endpoint->uniqueID(), 0, 77};
    MIDIObjectGetIntegerProperty(first, kMIDIPropertyUniqueID, &ids[0]);
    MIDIObjectGetIntegerProperty(second, kMIDIPropertyUniqueID, &ids[3]);
    const auto bytes = std::as_bytes(std::span(ids));
    MIDIObjectSetDataProperty(endpoint->midiEndpointRef(), kMIDIPropertyConnectionUniqueID,
                              {bytes.begin(), bytes.end() - 1});
    endpoint->setPropertiesFromMIDIEndpoint();
    EXPECT_EQ(endpoint->displayName(), "Organ, Piano");
    EXPECT_EQ(endpoint->name(), "Interface port 1");
}

TEST_F(PYMIDI, ADeviceThatLeavesStaysListedAndPlaysAgainWhenItReturns) {
    std::string address = midi.plugIn("Keys", "A");
    const auto keys = source("Keys A");
    const std::int32_t uniqueID = keys->uniqueID();
    keys->addReceiver(listener);
    EXPECT_TRUE(midi.backEnd->play(address, {0x90, 60, 100}, clock.now()));
    int changes = 0;
    const auto observation =
        NotificationCenter::defaultCenter().addObserver(kPYMIDISetupChanged, [&](const void*) { ++changes; });

    midi.backEnd->unplug(address);
    EXPECT_THAT(listener.heard, ElementsAre(Bytes{0x90, 60, 100}, Bytes{0x80, 60, 64})) << "a note hangs";
    settle();
    EXPECT_THAT(names(), ElementsAre("Keys A (offline)"));
    EXPECT_THAT(midi.manager().realSourcesOnlineOrInUse(), ElementsAre(keys)) << "it is in use";
    EXPECT_FALSE(keys->ioIsRunning());
    EXPECT_EQ(midi.backEnd->openLines(), 0U);

    address = midi.plugIn("Keys", "A");
    settle();
    EXPECT_THAT(names(), ElementsAre("Keys A"));
    EXPECT_EQ(keys->uniqueID(), uniqueID);
    EXPECT_TRUE(midi.backEnd->play(address, {0x90, 61, 100}, clock.now()));
    EXPECT_EQ(listener.heard.back(), (Bytes{0x90, 61, 100}));
    EXPECT_EQ(changes, 2);

    // Gone and back before anybody looked: the line is dead all the same.
    midi.backEnd->unplug(address);
    address = midi.plugIn("Keys", "A");
    settle();
    EXPECT_TRUE(midi.backEnd->play(address, {0x90, 62, 100}, clock.now()));
    keys->removeReceiver(listener);
    EXPECT_EQ(listener.heard.back(), (Bytes{0x80, 62, 64})) << "a note hangs";
    EXPECT_EQ(midi.backEnd->openLines(), 0U);
    EXPECT_FALSE(midi.backEnd->play(address, {0x90, 63, 100}, clock.now()));
}

TEST_F(PYMIDI, IDsAreTheSameInTheNextRunAndCanBeChanged) {
    midi.plugIn("Keys", "A");
    midi.plugIn("Keys", "B");
    const std::int32_t first = source("Keys A")->uniqueID();
    EXPECT_NE(first, source("Keys B")->uniqueID());
    EXPECT_FALSE(source("Keys B")->setUniqueID(first)) << "it is taken";
    EXPECT_TRUE(source("Keys B")->setUniqueID(4711));
    EXPECT_TRUE(PYMIDIIsUniqueIDInUse(4711));
    const std::int32_t fresh = PYMIDIAllocateUniqueID();
    EXPECT_NE(fresh, PYMIDIAllocateUniqueID());
    midi.restart();
    midi.plugIn("Keys", "B");
    midi.plugIn("Keys", "A");
    EXPECT_EQ(source("Keys A")->uniqueID(), first);
    EXPECT_EQ(source("Keys B")->uniqueID(), 4711);
}

TEST_F(PYMIDI, AnArchivedEndpointIsFoundAgainByIDThenByNameOrStaysOffline) {
    const KeyedUnarchiver::Classes classes{{PYMIDIRealSource::kClassName, PYMIDIRealSource::initWithCoder},
                                           {PYMIDIEndpointDescriptor::kClassName, [](const KeyedUnarchiver& coder) {
                                                return std::make_shared<PYMIDIEndpointDescriptor>(coder);
                                            }}};
    midi.plugIn("Keys", "A");
    const auto archive = KeyedArchiver::archivedData(source("Keys A"));
    auto set = PYMIDIEndpointSet::newEndpointSetWithArray(midi.manager().realSources());
    const auto reference = KeyedArchiver::archivedData(source("Keys A"), &set);
    EXPECT_EQ(KeyedUnarchiver::unarchivedObject(reference, classes, &set), source("Keys A"));

    midi.restart();
    auto restored = std::dynamic_pointer_cast<PYMIDIEndpoint>(KeyedUnarchiver::unarchivedObject(archive, classes));
    ASSERT_NE(restored, nullptr);
    EXPECT_EQ(restored->displayName(), "Keys A (offline)");
    EXPECT_THAT(midi.manager().realSources(), ElementsAre(restored));
    midi.plugIn("Keys", "A");
    settle();
    EXPECT_EQ(restored->displayName(), "Keys A");

    // The same name on another socket has another ID.
    const PYMIDIEndpointDescriptor byName("Keys A", 12345);
    EXPECT_EQ(midi.manager().realSourceWithDescriptor(byName), restored);
    restored.reset();
    midi.restart();
    EXPECT_EQ(KeyedUnarchiver::unarchivedObject({}, classes), nullptr);
    EXPECT_EQ(KeyedUnarchiver::unarchivedObject(archive, {}), nullptr);
}

TEST_F(PYMIDI, OwnEndpointsAreSeenByOthersAndNeverListed) {
    const auto destination = PYMIDIVirtualDestination::initWithName("Zelvane");
    const auto own = PYMIDIVirtualSource::initWithName("Zelvane out");
    ASSERT_TRUE(destination && own);
    settle();
    EXPECT_THAT(midi.manager().realSources(), IsEmpty());
    EXPECT_TRUE(PYMIDIIsEndpointLocalVirtual(destination->midiEndpointRef()));
    EXPECT_NE(destination->uniqueID(), own->uniqueID());
    EXPECT_EQ(destination->displayName(), "Zelvane");

    EXPECT_TRUE(midi.backEnd->playTo("Zelvane", {{0x90, 60, 1}}, clock.now()));
    EXPECT_THAT(listener.heard, IsEmpty()) << "nobody listens yet";
    destination->addReceiver(listener);
    destination->addReceiver(listener);
    EXPECT_TRUE(midi.backEnd->playTo("Zelvane", {{0x90, 60, 2}, {0x90, 61, 3}}, clock.now()));
    destination->removeReceiver(listener);
    EXPECT_THAT(listener.heard, ElementsAre(Bytes{0x90, 60, 2}, Bytes{0x90, 61, 3}, Bytes{0x80, 60, 64, 0x80, 61, 64}));
    EXPECT_FALSE(destination->ioIsRunning());

    const Bytes note{0x90, 64, 5};
    const MIDIPacket packet{clock.now(), note};
    own->processMIDIPacketList({&packet, 1}, *own);
    EXPECT_THAT(midi.backEnd->sent(), IsEmpty()) << "it has no sender yet";
    own->addSender(this);
    own->processMIDIPacketList({&packet, 1}, *own);
    ASSERT_EQ(midi.backEnd->sent().size(), 1U);
    EXPECT_TRUE(own->setName("Another"));
    EXPECT_EQ(own->displayName(), "Another");
    EXPECT_EQ(midi.backEnd->virtuals()[1].name, "Another");
    own->makePrivate(true);
    EXPECT_TRUE(own->isPrivate());
    EXPECT_FALSE(destination->isPrivate());
}

TEST_F(PYMIDI, WhatIsSentToADestinationGetsThere) {
    const std::string address = midi.backEnd->plugIn(MIDIDirection::destination, "Expander", "in");
    const auto destination = midi.manager().realDestinations().at(0);
    const Bytes note{0x90, 64, 5};
    const MIDIPacket packet{clock.now(), note};
    destination->processMIDIPacketList({&packet, 1}, *destination);
    EXPECT_THAT(midi.backEnd->sent(), IsEmpty()) << "its port is not open";
    destination->addSender(this);
    destination->processMIDIPacketList({&packet, 1}, *destination);
    midi.backEnd->unplug(address);
    destination->processMIDIPacketList({&packet, 1}, *destination);
    ASSERT_EQ(midi.backEnd->sent().size(), 1U);
    EXPECT_EQ(midi.backEnd->sent()[0].bytes, note);
    destination->removeSender(this);
    EXPECT_FALSE(destination->ioIsRunning());
}

TEST_F(PYMIDI, ChangesAreTakenInUnlessNotificationsAreOffOrOneOfAnotherKindCame) {
    midi.manager().disableNotifications();
    midi.plugIn("a", "a");
    settle();
    EXPECT_THAT(names(), IsEmpty());
    midi.manager().enableNotifications();
    midi.plugIn("b", "b");
    settle();
    EXPECT_THAT(names(), ElementsAre("a", "b"));
    // One that comes while another is worked on is made up for.
    int depth = 0;
    auto observation = NotificationCenter::defaultCenter().addObserver(kPYMIDISetupChanged, [&](const void*) {
        if (++depth == 1) midi.manager().processMIDINotification({});
    });
    midi.manager().processMIDINotification({});
    EXPECT_EQ(depth, 2);
    midi.manager().processMIDINotification({.messageID = 2});
    midi.plugIn("c", "c");
    settle();
    EXPECT_THAT(names(), ElementsAre("a", "b"));
}

TEST_F(PYMIDI, TheSystemsOwnBusIsKnown) {
    midi.backEnd->plugIn(MIDIDirection::source, "Through", "Through", "com.apple.AppleMIDIIACDriver");
    midi.plugIn("Keys", "A");
    EXPECT_TRUE(source("Through")->isIACBus());
    EXPECT_FALSE(source("Keys A")->isIACBus());
}

}  // namespace
}  // namespace zelvane

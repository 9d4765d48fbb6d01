// SPDX-License-Identifier: GPL-3.0-or-later
#include "PYMIDI/PYMIDIVirtualDestination.h"

#include "PYMIDI/PYMIDIManager.h"
#include "Platform/Foundation/RunLoop.h"
#include "Platform/MIDI/MIDIServices.h"

namespace zelvane {

namespace {

void midiReadProc(MIDIPacketList packets, void* context, void* /*sourceContext*/) {
    auto& destination = *static_cast<PYMIDIVirtualDestination*>(context);
    destination.processMIDIPacketList(packets, destination);
}

}  // namespace

PYMIDIVirtualDestination::~PYMIDIVirtualDestination() {
    dispose();
}

std::shared_ptr<PYMIDIVirtualDestination> PYMIDIVirtualDestination::initWithName(const std::string& name) {
    PYMIDIManager* manager = PYMIDIManager::sharedInstance();
    if (manager == nullptr) return nullptr;
    const PYMIDINotificationPause pause;
    std::shared_ptr<PYMIDIVirtualDestination> destination(new PYMIDIVirtualDestination);
    MIDIObjectRef endpoint = 0;
    if (MIDIDestinationCreate(manager->midiClientRef(), name, midiReadProc, destination.get(), &endpoint) != kNoError)
        return nullptr;
    destination->adopt(endpoint);
    return destination;
}

std::shared_ptr<PYMIDIVirtualDestination> PYMIDIVirtualDestination::initWithCoder(const KeyedUnarchiver& coder) {
    auto destination = initWithName(coder.decodeString("name").value_or(""));
    if (destination != nullptr) destination->setUniqueID(coder.decodeInt32("uniqueID"));
    return destination;
}

void PYMIDIVirtualDestination::processMIDIPacketList(MIDIPacketList packets, PYMIDIEndpoint& /*sender*/) {
    const std::lock_guard lock(_notesMutex);
    if (!ioIsRunning()) return;
    for (const MIDIPacket& packet : packets) _notes.follow(packet.data);
    passToReceivers(packets);
}

// Other programs know nothing of it and go on sending: the note-offs would not come through any more.
void PYMIDIVirtualDestination::stopIO() {
    const std::lock_guard lock(_notesMutex);
    PYMIDIVirtualEndpoint::stopIO();
    const auto endings = _notes.takeEndings();
    const MIDIPacket packet{RunLoop::now(), endings};
    if (!endings.empty()) passToReceivers({&packet, 1});
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "PYMIDI/PYMIDIRealDestination.h"

#include "PYMIDI/PYMIDIManager.h"
#include "PYMIDI/PYMIDIUtils.h"
#include "Platform/MIDI/MIDIServices.h"

namespace zelvane {

PYMIDIRealDestination::~PYMIDIRealDestination() {
    PYMIDIRealDestination::stopIO();
}

std::shared_ptr<PYMIDIRealDestination> PYMIDIRealDestination::initWithCoder(const KeyedUnarchiver& coder) {
    PYMIDIManager* manager = PYMIDIManager::sharedInstance();
    if (manager == nullptr) return nullptr;
    auto destination = manager->realDestinationWithDescriptor(PYMIDIEndpointDescriptor(coder));
    destination->setDisplayName(coder.decodeString("displayName"));
    return destination;
}

void PYMIDIRealDestination::startIO() {
    PYMIDIManager* manager = PYMIDIManager::sharedInstance();
    if (manager == nullptr || midiEndpointRef() == 0 || midiPortRef() != 0) return;
    MIDIObjectRef port = 0;
    if (MIDIOutputPortCreate(manager->midiClientRef(), "PYMIDIRealDestination", &port) == kNoError)
        setMidiPortRef(port);
}

void PYMIDIRealDestination::stopIO() {
    if (midiPortRef() == 0) return;
    MIDIPortDispose(midiPortRef());
    setMidiPortRef(0);
}

void PYMIDIRealDestination::processMIDIPacketList(MIDIPacketList packets, PYMIDIEndpoint& /*sender*/) {
    if (midiEndpointRef() != 0 && midiPortRef() != 0) MIDISend(midiPortRef(), midiEndpointRef(), packets);
}

bool PYMIDIRealDestination::doesStillExist(MIDIObjectRef ref) const {
    return PYMIDIDoesDestinationStillExist(ref);
}

MIDIObjectRef PYMIDIRealDestination::findByUniqueID(std::int32_t uniqueID) const {
    return PYMIDIGetDestinationByUniqueID(uniqueID);
}

MIDIObjectRef PYMIDIRealDestination::findByName(const std::string& name) const {
    return PYMIDIGetDestinationByName(name);
}

}  // namespace zelvane

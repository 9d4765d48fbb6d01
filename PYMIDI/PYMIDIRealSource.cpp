// SPDX-License-Identifier: GPL-3.0-or-later
#include "PYMIDI/PYMIDIRealSource.h"

#include "PYMIDI/PYMIDIManager.h"
#include "PYMIDI/PYMIDIUtils.h"
#include "Platform/MIDI/MIDIServices.h"

namespace zelvane {

namespace {

void midiReadProc(MIDIPacketList packets, void* context, void* /*sourceContext*/) {
    auto& source = *static_cast<PYMIDIRealSource*>(context);
    source.processMIDIPacketList(packets, source);
}

}  // namespace

PYMIDIRealSource::~PYMIDIRealSource() {
    PYMIDIRealSource::stopIO();
}

std::shared_ptr<PYMIDIRealSource> PYMIDIRealSource::initWithCoder(const KeyedUnarchiver& coder) {
    PYMIDIManager* manager = PYMIDIManager::sharedInstance();
    if (manager == nullptr) return nullptr;
    auto source = manager->realSourceWithDescriptor(PYMIDIEndpointDescriptor(coder));
    source->setDisplayName(coder.decodeString("displayName"));
    return source;
}

void PYMIDIRealSource::startIO() {
    PYMIDIManager* manager = PYMIDIManager::sharedInstance();
    if (manager == nullptr || midiEndpointRef() == 0 || midiPortRef() != 0) return;
    MIDIObjectRef port = 0;
    if (MIDIInputPortCreate(manager->midiClientRef(), "PYMIDIRealSource", midiReadProc, this, &port) != kNoError)
        return;
    setMidiPortRef(port);
    MIDIPortConnectSource(port, midiEndpointRef(), nullptr);
}

void PYMIDIRealSource::stopIO() {
    const MIDIObjectRef port = midiPortRef();
    if (port == 0) return;
    MIDIPortDisconnectSource(port, midiEndpointRef());
    MIDIPortDispose(port);
    setMidiPortRef(0);
}

void PYMIDIRealSource::processMIDIPacketList(MIDIPacketList packets, PYMIDIEndpoint& /*sender*/) {
    passToReceivers(packets);
}

bool PYMIDIRealSource::doesStillExist(MIDIObjectRef ref) const {
    return PYMIDIDoesSourceStillExist(ref);
}

MIDIObjectRef PYMIDIRealSource::findByUniqueID(std::int32_t uniqueID) const {
    return PYMIDIGetSourceByUniqueID(uniqueID);
}

MIDIObjectRef PYMIDIRealSource::findByName(const std::string& name) const {
    return PYMIDIGetSourceByName(name);
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "PYMIDI/PYMIDIVirtualSource.h"

#include "PYMIDI/PYMIDIManager.h"
#include "Platform/MIDI/MIDIServices.h"

namespace zelvane {

std::shared_ptr<PYMIDIVirtualSource> PYMIDIVirtualSource::initWithName(const std::string& name) {
    PYMIDIManager* manager = PYMIDIManager::sharedInstance();
    if (manager == nullptr) return nullptr;
    const PYMIDINotificationPause pause;
    MIDIObjectRef endpoint = 0;
    if (MIDISourceCreate(manager->midiClientRef(), name, &endpoint) != kNoError) return nullptr;
    std::shared_ptr<PYMIDIVirtualSource> source(new PYMIDIVirtualSource);
    source->adopt(endpoint);
    return source;
}

std::shared_ptr<PYMIDIVirtualSource> PYMIDIVirtualSource::initWithCoder(const KeyedUnarchiver& coder) {
    auto source = initWithName(coder.decodeString("name").value_or(""));
    if (source != nullptr) source->setUniqueID(coder.decodeInt32("uniqueID"));
    return source;
}

void PYMIDIVirtualSource::processMIDIPacketList(MIDIPacketList packets, PYMIDIEndpoint& /*sender*/) {
    if (ioIsRunning()) MIDIReceived(midiEndpointRef(), packets);
}

}  // namespace zelvane

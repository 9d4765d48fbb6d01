// SPDX-License-Identifier: GPL-3.0-or-later
#include "PYMIDI/PYMIDIVirtualEndpoint.h"

#include "PYMIDI/PYMIDIManager.h"
#include "PYMIDI/PYMIDIUtils.h"
#include "Platform/MIDI/MIDIServices.h"

#include <unistd.h>

namespace zelvane {

PYMIDIVirtualEndpoint::~PYMIDIVirtualEndpoint() {
    dispose();
}

void PYMIDIVirtualEndpoint::adopt(MIDIObjectRef endpoint) {
    std::int32_t uniqueID = 0;
    if (MIDIObjectGetIntegerProperty(endpoint, kMIDIPropertyUniqueID, &uniqueID) == kMIDIUnknownProperty)
        MIDIObjectSetIntegerProperty(endpoint, kMIDIPropertyUniqueID, PYMIDIAllocateUniqueID());
    MIDIObjectSetIntegerProperty(endpoint, kPYMIDIPropertyOwnerPID, getpid());
    setMidiEndpointRef(endpoint);
    setPropertiesFromMIDIEndpoint();
}

void PYMIDIVirtualEndpoint::dispose() {
    if (midiEndpointRef() == 0) return;
    const PYMIDINotificationPause pause;
    MIDIEndpointDispose(midiEndpointRef());
    setMidiEndpointRef(0);
    stopIO();
}

bool PYMIDIVirtualEndpoint::isPrivate() const {
    std::int32_t isPrivate = 0;
    return MIDIObjectGetIntegerProperty(midiEndpointRef(), kMIDIPropertyPrivate, &isPrivate) == kNoError &&
           isPrivate != 0;
}

void PYMIDIVirtualEndpoint::makePrivate(bool isPrivate) {
    MIDIObjectSetIntegerProperty(midiEndpointRef(), kMIDIPropertyPrivate, isPrivate ? 1 : 0);
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "PYMIDI/PYMIDIRealEndpoint.h"

namespace zelvane {

MIDIObjectRef PYMIDIRealEndpoint::currentReference() const {
    const MIDIObjectRef known = midiEndpointRef();
    if (known != 0 && doesStillExist(known)) return known;
    const MIDIObjectRef found = findByUniqueID(uniqueID());
    return found != 0 || !name() ? found : findByName(*name());
}

void PYMIDIRealEndpoint::syncWithMIDIEndpoint() {
    const MIDIObjectRef current = currentReference();
    if (current != midiEndpointRef()) {
        stopIO();
        setMidiEndpointRef(current);
        if (isInUse()) startIO();
    }
    setPropertiesFromMIDIEndpoint();
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/MIDIObjects.h"

#include <algorithm>
#include <utility>

namespace zelvane {

MIDIObjectRef MIDIObjects::add(MIDIObject object) {
    _objects.emplace(++_last, std::move(object));
    return _last;
}

MIDIObject* MIDIObjects::find(MIDIObjectRef ref) {
    const auto entry = _objects.find(ref);
    return entry != _objects.end() ? &entry->second : nullptr;
}

MIDIObjectRef MIDIObjects::findByUniqueID(std::int32_t id) const {
    const MIDIPropertyValue wanted = id;
    // A device that came back is another object than the one that went: the newest counts.
    const auto found = std::find_if(_objects.rbegin(), _objects.rend(), [&](const auto& entry) {
        const auto property = entry.second.properties.find(kMIDIPropertyUniqueID);
        return property != entry.second.properties.end() && property->second == wanted;
    });
    return found != _objects.rend() ? found->first : 0;
}

OSStatus MIDIObjects::setProperty(MIDIObjectRef ref, std::string_view name, MIDIPropertyValue value) {
    MIDIObject* object = find(ref);
    if (object == nullptr) return kMIDIObjectNotFound;
    object->properties.insert_or_assign(std::string(name), std::move(value));
    return kNoError;
}

}  // namespace zelvane

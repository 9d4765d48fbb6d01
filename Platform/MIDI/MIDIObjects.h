// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/MIDI/MIDITypes.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zelvane {

// Names of properties.
inline constexpr const char* kMIDIPropertyName = "name";
inline constexpr const char* kMIDIPropertyUniqueID = "uniqueID";
inline constexpr const char* kMIDIPropertyOffline = "offline";
inline constexpr const char* kMIDIPropertyPrivate = "private";
inline constexpr const char* kMIDIPropertyDriverOwner = "driver";
inline constexpr const char* kMIDIPropertyConnectionUniqueID = "connUniqueID";

/// The value of a property.
using MIDIPropertyValue = std::variant<std::int32_t, std::string, std::vector<std::byte>>;

/// An object of the service: what it is, what it belongs to, and what is known of it.
struct MIDIObject {
    MIDIObjectType type = MIDIObjectType::other;
    MIDIObjectRef owner = 0;  ///< an endpoint's entity, an entity's device
    std::map<std::string, MIDIPropertyValue, std::less<>> properties;
};

/// The objects by their references, which are never used again. One thread at a time.
class MIDIObjects {
  public:
    MIDIObjectRef add(MIDIObject object);
    void remove(MIDIObjectRef ref) { _objects.erase(ref); }
    MIDIObject* find(MIDIObjectRef ref);
    MIDIObjectRef findByUniqueID(std::int32_t id) const;

    /// `kMIDIObjectNotFound`, `kMIDIUnknownProperty`, or `kMIDIWrongPropertyType` when it is of another type.
    template <typename Value>
    OSStatus property(MIDIObjectRef ref, std::string_view name, Value& value) {
        const MIDIObject* object = find(ref);
        if (object == nullptr) return kMIDIObjectNotFound;
        const auto entry = object->properties.find(name);
        if (entry == object->properties.end()) return kMIDIUnknownProperty;
        const auto* kept = std::get_if<Value>(&entry->second);
        if (kept == nullptr) return kMIDIWrongPropertyType;
        value = *kept;
        return kNoError;
    }

    OSStatus setProperty(MIDIObjectRef ref, std::string_view name, MIDIPropertyValue value);

  private:
    std::map<MIDIObjectRef, MIDIObject> _objects;
    MIDIObjectRef _last = 0;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "PYMIDI/PYMIDIUtils.h"

#include "Platform/Foundation/Text.h"
#include "Platform/MIDI/MIDIServices.h"

#include <strings.h>
#include <unistd.h>

#include <ctime>

namespace zelvane {

namespace {

using CountOf = std::size_t (*)();
using EndpointAt = MIDIObjectRef (*)(std::size_t);

/// One direction's endpoints.
struct Endpoints {
    CountOf count;
    EndpointAt at;

    template <typename Predicate>
    MIDIObjectRef first(Predicate isMeant) const {
        for (std::size_t index = 0; index < count(); ++index) {
            if (isMeant(at(index))) return at(index);
        }
        return 0;
    }
};

constexpr Endpoints kSources{MIDIGetNumberOfSources, MIDIGetSource};
constexpr Endpoints kDestinations{MIDIGetNumberOfDestinations, MIDIGetDestination};

std::optional<std::string> nameOf(MIDIObjectRef object) {
    std::string name;
    return MIDIObjectGetStringProperty(object, kMIDIPropertyName, &name) == kNoError ? std::optional(name)
                                                                                     : std::nullopt;
}

std::optional<std::string> deviceNameOf(MIDIObjectRef endpoint) {
    MIDIObjectRef entity = 0;
    MIDIObjectRef device = 0;
    if (MIDIEndpointGetEntity(endpoint, &entity) != kNoError || MIDIEntityGetDevice(entity, &device) != kNoError)
        return std::nullopt;
    return nameOf(device);
}

MIDIObjectRef byUniqueID(const Endpoints& endpoints, std::int32_t uniqueID) {
    return endpoints.first([&](MIDIObjectRef endpoint) {
        std::int32_t its = 0;
        return MIDIObjectGetIntegerProperty(endpoint, kMIDIPropertyUniqueID, &its) == kNoError && its == uniqueID;
    });
}

MIDIObjectRef byName(const Endpoints& endpoints, const std::string& name) {
    return endpoints.first([&](MIDIObjectRef endpoint) { return PYMIDIGetEndpointName(endpoint) == name; });
}

bool doesExist(const Endpoints& endpoints, MIDIObjectRef wanted) {
    return endpoints.first([&](MIDIObjectRef endpoint) { return endpoint == wanted; }) != 0;
}

}  // namespace

std::optional<std::string> PYMIDIGetEndpointName(MIDIObjectRef endpoint) {
    const auto name = nameOf(endpoint);
    const auto deviceName = deviceNameOf(endpoint);
    if (!name || !deviceName) return name ? name : deviceName;
    if (strncasecmp(deviceName->c_str(), name->c_str(), name->size()) == 0) return name;
    return formatted("%@ %@", {*deviceName, *name});
}

bool PYMIDIDoesSourceStillExist(MIDIObjectRef endpoint) {
    return doesExist(kSources, endpoint);
}

bool PYMIDIDoesDestinationStillExist(MIDIObjectRef endpoint) {
    return doesExist(kDestinations, endpoint);
}

MIDIObjectRef PYMIDIGetSourceByUniqueID(std::int32_t uniqueID) {
    return byUniqueID(kSources, uniqueID);
}

MIDIObjectRef PYMIDIGetDestinationByUniqueID(std::int32_t uniqueID) {
    return byUniqueID(kDestinations, uniqueID);
}

MIDIObjectRef PYMIDIGetSourceByName(const std::string& name) {
    return byName(kSources, name);
}

MIDIObjectRef PYMIDIGetDestinationByName(const std::string& name) {
    return byName(kDestinations, name);
}

bool PYMIDIIsUniqueIDInUse(std::int32_t uniqueID) {
    // A read that fails leaves the number of the endpoint before, which is compared again.
    std::int32_t its = 0;
    const auto hasIt = [&](MIDIObjectRef endpoint) {
        MIDIObjectGetIntegerProperty(endpoint, kMIDIPropertyUniqueID, &its);
        return its == uniqueID;
    };
    return kSources.first(hasIt) != 0 || kDestinations.first(hasIt) != 0;
}

std::int32_t PYMIDIAllocateUniqueID() {
    static std::uint32_t counter = 0;
    std::int32_t candidate = 0;
    do {
        candidate = static_cast<std::int32_t>(static_cast<std::uint32_t>(std::time(nullptr)) + counter++);
    } while (PYMIDIIsUniqueIDInUse(candidate));
    return candidate;
}

bool PYMIDIIsEndpointLocalVirtual(MIDIObjectRef endpoint) {
    std::int32_t owner = 0;
    return MIDIObjectGetIntegerProperty(endpoint, kPYMIDIPropertyOwnerPID, &owner) == kNoError && owner == getpid();
}

}  // namespace zelvane

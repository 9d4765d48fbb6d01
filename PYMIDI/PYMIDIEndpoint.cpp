// SPDX-License-Identifier: GPL-3.0-or-later
#include "PYMIDI/PYMIDIEndpoint.h"

#include "PYMIDI/PYMIDIManager.h"
#include "PYMIDI/PYMIDIUtils.h"
#include "Platform/Foundation/Collation.h"
#include "Platform/Foundation/Text.h"
#include "Platform/MIDI/MIDIServices.h"

#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

namespace zelvane {

namespace {

constexpr const char* kBusDriver = "com.apple.AppleMIDIIACDriver";

/// The name of what hangs on an endpoint's connector; none for what is no external device.
std::optional<std::string> nameOfConnected(std::int32_t uniqueID) {
    MIDIObjectRef object = 0;
    auto type = MIDIObjectType::other;
    if (uniqueID == 0 || MIDIObjectFindByUniqueID(uniqueID, &object, &type) != kNoError) return std::nullopt;
    if (type == MIDIObjectType::externalSource || type == MIDIObjectType::externalDestination)
        return PYMIDIGetEndpointName(object);
    std::string name;
    if (type != MIDIObjectType::externalDevice ||
        MIDIObjectGetStringProperty(object, kMIDIPropertyName, &name) != kNoError)
        return std::nullopt;
    return name;
}

std::string joinedNamesOfConnected(const std::vector<std::byte>& uniqueIDs) {
    std::string joined;
    for (std::size_t place = 0; place + sizeof(std::int32_t) <= uniqueIDs.size(); place += sizeof(std::int32_t)) {
        std::int32_t uniqueID = 0;
        std::memcpy(&uniqueID, uniqueIDs.data() + place, sizeof uniqueID);
        const auto name = nameOfConnected(uniqueID);
        if (name) joined += (joined.empty() ? "" : ", ") + *name;
    }
    return joined;
}

}  // namespace

PYMIDIEndpoint::PYMIDIEndpoint(std::string name, std::int32_t uniqueID) : _name(std::move(name)), _uniqueID(uniqueID) {}

PYMIDIEndpoint::PYMIDIEndpoint(MIDIObjectRef midiEndpointRef) : _midiEndpointRef(midiEndpointRef) {
    setPropertiesFromMIDIEndpoint();
}

void PYMIDIEndpoint::encodeWithCoder(KeyedArchiver& coder) const {
    if (_name) coder.encodeObject(*_name, "name");
    coder.encodeInt32(_uniqueID, "uniqueID");
    if (_displayName) coder.encodeObject(*_displayName, "displayName");
}

void PYMIDIEndpoint::setPropertiesFromMIDIEndpoint() {
    if (midiEndpointRef() == 0) return;
    setUniqueIDFromMIDIEndpoint();
    setNameFromMIDIEndpoint();
    setDisplayNameFromMIDIEndpoint();
}

void PYMIDIEndpoint::setUniqueIDFromMIDIEndpoint() {
    MIDIObjectGetIntegerProperty(midiEndpointRef(), kMIDIPropertyUniqueID, &_uniqueID);
}

void PYMIDIEndpoint::setNameFromMIDIEndpoint() {
    _name = PYMIDIGetEndpointName(midiEndpointRef());
}

void PYMIDIEndpoint::setDisplayNameFromMIDIEndpoint() {
    std::vector<std::byte> uniqueIDs;
    MIDIObjectGetDataProperty(midiEndpointRef(), kMIDIPropertyConnectionUniqueID, &uniqueIDs);
    const std::string joined = joinedNamesOfConnected(uniqueIDs);
    _displayName = joined.empty() ? _name.value_or("UNKNOWN DEVICE") : joined;
}

bool PYMIDIEndpoint::setName(const std::string& name) {
    const PYMIDINotificationPause pause;
    if (MIDIObjectSetStringProperty(midiEndpointRef(), kMIDIPropertyName, name) != kNoError) return false;
    _name = name;
    _displayName = name;
    return true;
}

bool PYMIDIEndpoint::setUniqueID(std::int32_t uniqueID) {
    const PYMIDINotificationPause pause;
    if (MIDIObjectSetIntegerProperty(midiEndpointRef(), kMIDIPropertyUniqueID, uniqueID) != kNoError) return false;
    _uniqueID = uniqueID;
    return true;
}

std::string PYMIDIEndpoint::displayName() const {
    const std::string name = _displayName.value_or("(null)");
    return isOffline() ? formatted("%@ (offline)", {name}) : name;
}

bool PYMIDIEndpoint::compareByDisplayName(const PYMIDIEndpoint& other) const {
    return localizedCaseInsensitiveLess(displayName(), other.displayName());
}

bool PYMIDIEndpoint::isIACBus() const {
    MIDIObjectRef entity = 0;
    MIDIObjectRef device = 0;
    std::string driver;
    return MIDIEndpointGetEntity(midiEndpointRef(), &entity) == kNoError &&
           MIDIEntityGetDevice(entity, &device) == kNoError &&
           MIDIObjectGetStringProperty(device, kMIDIPropertyDriverOwner, &driver) == kNoError && driver == kBusDriver;
}

bool PYMIDIEndpoint::isOffline() const {
    if (midiEndpointRef() == 0) return true;
    std::int32_t offline = 0;
    return MIDIObjectGetIntegerProperty(midiEndpointRef(), kMIDIPropertyOffline, &offline) == kNoError && offline != 0;
}

bool PYMIDIEndpoint::isInUse() const {
    const std::lock_guard lock(_receiversMutex);
    return !_receivers.empty() || !_senders.empty();
}

void PYMIDIEndpoint::addReceiver(PYMIDIReceiver& receiver) {
    {
        const std::lock_guard lock(_receiversMutex);
        _receivers.insert(&receiver);
    }
    startOrStopIO();
}

// Traffic stops first, so that what ends with it (the notes that sound) still reaches the one that goes.
void PYMIDIEndpoint::removeReceiver(PYMIDIReceiver& receiver) {
    bool isLast = false;
    {
        const std::lock_guard lock(_receiversMutex);
        isLast = _senders.empty() && _receivers.size() == 1 && _receivers.contains(&receiver);
    }
    if (isLast) stopIO();
    {
        const std::lock_guard lock(_receiversMutex);
        _receivers.erase(&receiver);
    }
    startOrStopIO();
}

void PYMIDIEndpoint::addSender(const void* sender) {
    {
        const std::lock_guard lock(_receiversMutex);
        _senders.insert(sender);
    }
    startOrStopIO();
}

void PYMIDIEndpoint::removeSender(const void* sender) {
    {
        const std::lock_guard lock(_receiversMutex);
        _senders.erase(sender);
    }
    startOrStopIO();
}

void PYMIDIEndpoint::startOrStopIO() {
    if (isInUse()) {
        startIO();
    } else {
        stopIO();
    }
}

void PYMIDIEndpoint::passToReceivers(MIDIPacketList packets) {
    const std::lock_guard lock(_receiversMutex);
    for (PYMIDIReceiver* receiver : _receivers) receiver->processMIDIPacketList(packets, *this);
}

}  // namespace zelvane

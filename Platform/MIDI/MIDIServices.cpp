// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/MIDIServices.h"

#include "Platform/MIDI/MIDIService.h"

namespace zelvane {

namespace {

template <typename Operation>
OSStatus with(const Operation& operation) {
    MIDIService* service = MIDIService::current();
    return service != nullptr ? operation(*service) : kMIDIServerStartErr;
}

std::size_t count(MIDIDirection direction) {
    const MIDIService* service = MIDIService::current();
    return service != nullptr ? service->endpoints(direction).size() : 0;
}

MIDIObjectRef endpointAt(MIDIDirection direction, std::size_t index) {
    return index < count(direction) ? MIDIService::current()->endpoints(direction)[index] : 0;
}

template <typename Value>
OSStatus get(MIDIObjectRef object, std::string_view name, Value& value) {
    return with([&](MIDIService& service) { return service.property(object, name, value); });
}

OSStatus set(MIDIObjectRef object, std::string_view name, const MIDIPropertyValue& value) {
    return with([&](MIDIService& service) { return service.setProperty(object, name, value); });
}

OSStatus getOwner(MIDIObjectRef object, MIDIObjectRef& owner) {
    return with([&](MIDIService& service) { return service.owner(object, owner); });
}

OSStatus createVirtual(MIDIObjectRef client, MIDIDirection direction, const std::string& name, MIDIReadProc read,
                       void* context, MIDIObjectRef& endpoint) {
    return with(
        [&](MIDIService& service) { return service.createVirtual(client, direction, name, read, context, endpoint); });
}

}  // namespace

OSStatus MIDIClientCreate(const std::string& /*name*/, MIDINotifyProc notify, void* context, MIDIObjectRef* client) {
    return with([&](MIDIService& service) { return service.createClient(notify, context, *client); });
}

OSStatus MIDIClientDispose(MIDIObjectRef client) {
    return with([&](MIDIService& service) {
        service.disposeClient(client);
        return kNoError;
    });
}

std::size_t MIDIGetNumberOfSources() {
    return count(MIDIDirection::source);
}

std::size_t MIDIGetNumberOfDestinations() {
    return count(MIDIDirection::destination);
}

MIDIObjectRef MIDIGetSource(std::size_t index) {
    return endpointAt(MIDIDirection::source, index);
}

MIDIObjectRef MIDIGetDestination(std::size_t index) {
    return endpointAt(MIDIDirection::destination, index);
}

OSStatus MIDIObjectGetIntegerProperty(MIDIObjectRef object, std::string_view name, std::int32_t* value) {
    return get(object, name, *value);
}

OSStatus MIDIObjectSetIntegerProperty(MIDIObjectRef object, std::string_view name, std::int32_t value) {
    return set(object, name, value);
}

OSStatus MIDIObjectGetStringProperty(MIDIObjectRef object, std::string_view name, std::string* value) {
    return get(object, name, *value);
}

OSStatus MIDIObjectSetStringProperty(MIDIObjectRef object, std::string_view name, const std::string& value) {
    return set(object, name, value);
}

OSStatus MIDIObjectGetDataProperty(MIDIObjectRef object, std::string_view name, std::vector<std::byte>* value) {
    return get(object, name, *value);
}

OSStatus MIDIObjectSetDataProperty(MIDIObjectRef object, std::string_view name, const std::vector<std::byte>& value) {
    return set(object, name, value);
}

OSStatus MIDIObjectFindByUniqueID(std::int32_t id, MIDIObjectRef* object, MIDIObjectType* type) {
    return with([&](MIDIService& service) { return service.findByUniqueID(id, *object, *type); });
}

OSStatus MIDIEndpointGetEntity(MIDIObjectRef endpoint, MIDIObjectRef* entity) {
    return getOwner(endpoint, *entity);
}

OSStatus MIDIEntityGetDevice(MIDIObjectRef entity, MIDIObjectRef* device) {
    return getOwner(entity, *device);
}

OSStatus MIDIExternalDeviceCreate(const std::string& name, MIDIObjectRef* device) {
    return with([&](MIDIService& service) { return service.createExternalDevice(name, *device); });
}

OSStatus MIDIInputPortCreate(MIDIObjectRef client, const std::string& /*name*/, MIDIReadProc read, void* context,
                             MIDIObjectRef* port) {
    return with([&](MIDIService& service) { return service.createPort(client, read, context, *port); });
}

OSStatus MIDIOutputPortCreate(MIDIObjectRef client, const std::string& name, MIDIObjectRef* port) {
    return MIDIInputPortCreate(client, name, nullptr, nullptr, port);
}

OSStatus MIDIPortConnectSource(MIDIObjectRef port, MIDIObjectRef source, void* sourceContext) {
    return with([&](MIDIService& service) { return service.connect(port, source, sourceContext); });
}

OSStatus MIDIPortDisconnectSource(MIDIObjectRef port, MIDIObjectRef source) {
    return with([&](MIDIService& service) { return service.disconnect(port, source); });
}

OSStatus MIDIPortDispose(MIDIObjectRef port) {
    return with([&](MIDIService& service) { return service.disposePort(port); });
}

OSStatus MIDISourceCreate(MIDIObjectRef client, const std::string& name, MIDIObjectRef* source) {
    return createVirtual(client, MIDIDirection::source, name, nullptr, nullptr, *source);
}

OSStatus MIDIDestinationCreate(MIDIObjectRef client, const std::string& name, MIDIReadProc read, void* context,
                               MIDIObjectRef* destination) {
    return createVirtual(client, MIDIDirection::destination, name, read, context, *destination);
}

OSStatus MIDIEndpointDispose(MIDIObjectRef endpoint) {
    return with([&](MIDIService& service) { return service.disposeVirtual(endpoint); });
}

OSStatus MIDISend(MIDIObjectRef /*port*/, MIDIObjectRef destination, MIDIPacketList packets) {
    return with([&](MIDIService& service) { return service.send(destination, packets); });
}

OSStatus MIDIReceived(MIDIObjectRef source, MIDIPacketList packets) {
    return with([&](MIDIService& service) { return service.emit(source, packets); });
}

}  // namespace zelvane

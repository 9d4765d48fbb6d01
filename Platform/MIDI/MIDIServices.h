// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/MIDI/MIDIObjects.h"
#include "Platform/MIDI/MIDITypes.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zelvane {

/// The platform's MIDI operations, on the service that exists; without one they fail with `kMIDIServerStartErr`, or
/// give none. For the thread of the service's run loop, but for `MIDISend` and `MIDIReceived`.

OSStatus MIDIClientCreate(const std::string& name, MIDINotifyProc notify, void* context, MIDIObjectRef* client);
OSStatus MIDIClientDispose(MIDIObjectRef client);

/// As many as there were at the last scan; offline ones are not counted.
std::size_t MIDIGetNumberOfSources();
std::size_t MIDIGetNumberOfDestinations();
/// 0 beyond the last.
MIDIObjectRef MIDIGetSource(std::size_t index);
MIDIObjectRef MIDIGetDestination(std::size_t index);

OSStatus MIDIObjectGetIntegerProperty(MIDIObjectRef object, std::string_view name, std::int32_t* value);
OSStatus MIDIObjectSetIntegerProperty(MIDIObjectRef object, std::string_view name, std::int32_t value);
OSStatus MIDIObjectGetStringProperty(MIDIObjectRef object, std::string_view name, std::string* value);
OSStatus MIDIObjectSetStringProperty(MIDIObjectRef object, std::string_view name, const std::string& value);
OSStatus MIDIObjectGetDataProperty(MIDIObjectRef object, std::string_view name, std::vector<std::byte>* value);
OSStatus MIDIObjectSetDataProperty(MIDIObjectRef object, std::string_view name, const std::vector<std::byte>& value);
OSStatus MIDIObjectFindByUniqueID(std::int32_t id, MIDIObjectRef* object, MIDIObjectType* type);
OSStatus MIDIEndpointGetEntity(MIDIObjectRef endpoint, MIDIObjectRef* entity);
OSStatus MIDIEntityGetDevice(MIDIObjectRef entity, MIDIObjectRef* device);

/// Something that hangs on an interface's connector and that the system can't see: the user tells of it.
OSStatus MIDIExternalDeviceCreate(const std::string& name, MIDIObjectRef* device);

OSStatus MIDIInputPortCreate(MIDIObjectRef client, const std::string& name, MIDIReadProc read, void* context,
                             MIDIObjectRef* port);
OSStatus MIDIOutputPortCreate(MIDIObjectRef client, const std::string& name, MIDIObjectRef* port);
OSStatus MIDIPortConnectSource(MIDIObjectRef port, MIDIObjectRef source, void* sourceContext);
OSStatus MIDIPortDisconnectSource(MIDIObjectRef port, MIDIObjectRef source);
OSStatus MIDIPortDispose(MIDIObjectRef port);

/// A port of ours that others see: what is received on a source reaches those that listen to it.
OSStatus MIDISourceCreate(MIDIObjectRef client, const std::string& name, MIDIObjectRef* source);
OSStatus MIDIDestinationCreate(MIDIObjectRef client, const std::string& name, MIDIReadProc read, void* context,
                               MIDIObjectRef* destination);
OSStatus MIDIEndpointDispose(MIDIObjectRef endpoint);

OSStatus MIDISend(MIDIObjectRef port, MIDIObjectRef destination, MIDIPacketList packets);
OSStatus MIDIReceived(MIDIObjectRef source, MIDIPacketList packets);

}  // namespace zelvane

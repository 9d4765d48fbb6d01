// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"
#include "Platform/Foundation/OSStatus.h"

#include <cstdint>
#include <span>

namespace zelvane {

/// A client, port, endpoint, entity or device of the MIDI service; 0 is none.
using MIDIObjectRef = std::uint32_t;

inline constexpr OSStatus kMIDIInvalidClient = -10830;
inline constexpr OSStatus kMIDIInvalidPort = -10831;
inline constexpr OSStatus kMIDIWrongEndpointType = -10832;
inline constexpr OSStatus kMIDIUnknownEndpoint = -10834;
inline constexpr OSStatus kMIDIUnknownProperty = -10835;
inline constexpr OSStatus kMIDIWrongPropertyType = -10836;
inline constexpr OSStatus kMIDIServerStartErr = -10839;
inline constexpr OSStatus kMIDIObjectNotFound = -10842;
inline constexpr OSStatus kMIDIIDNotUnique = -10843;

/// What kind of object a reference stands for.
enum class MIDIObjectType : std::int32_t {
    other = -1,
    device = 0,
    entity = 1,
    source = 2,
    destination = 3,
    externalDevice = 16,
    externalEntity = 17,
    externalSource = 18,
    externalDestination = 19,
};

/// Bytes of one or more whole messages (a message may go on in the list's next packet) and when they arrived. JACK
/// hands on a whole period's messages at its beginning, so that the time may lie some milliseconds ahead.
struct MIDIPacket {
    TimePoint timeStamp;
    std::span<const std::uint8_t> data;
};

/// Packets in the order of their time stamps; valid during the call that hands them on.
using MIDIPacketList = std::span<const MIDIPacket>;

/// Called with what arrives: the context of the port or virtual destination, and the one given when the source was
/// connected. The service's MIDI thread.
using MIDIReadProc = void (*)(MIDIPacketList packets, void* readProcContext, void* sourceContext);

/// What a notification tells of; this service tells of every change by the first.
inline constexpr std::int32_t kMIDIMsgSetupChanged = 1;

struct MIDINotification {
    std::int32_t messageID = kMIDIMsgSetupChanged;
};

/// The run loop on which the client was made.
using MIDINotifyProc = void (*)(const MIDINotification& message, void* context);

}  // namespace zelvane

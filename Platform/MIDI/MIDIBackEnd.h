// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Error.h"
#include "Platform/MIDI/MIDITypes.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zelvane {

enum class MIDIDirection { source, destination };

/// A port of another program or of a device, as it is found at one moment.
struct MIDIPortDescription {
    MIDIDirection direction = MIDIDirection::source;
    /// By which the back end reaches it. One that went away and came back, however quickly, has another.
    std::string address;
    /// What is the same when the device is plugged in again or the program started again. Distinct within a direction.
    std::string key;
    std::string name;        ///< of the port
    std::string deviceName;  ///< of the device or program that it belongs to
    std::string driver;      ///< the owner of the device's driver, where that is worth telling

    bool operator==(const MIDIPortDescription&) const = default;
};

/// A connection or a port of ours, numbered by the service.
using MIDILineID = std::uint32_t;

/// Told of what happens in a back end.
class MIDIBackEndListener {
  public:
    virtual ~MIDIBackEndListener() = default;
    /// Ports came, went or changed their names: `ports` has news. Any thread of the back end.
    virtual void setupChanged() = 0;
    /// Something came over a line. The back end's MIDI thread; it may not block.
    virtual void received(MIDILineID line, MIDIPacketList packets) = 0;
};

/// A way to other programs' and devices' MIDI. Operations are called by one thread at a time, but for `send` and
/// `emit`, which any thread but the audio thread may call. No operation calls the listener while it runs in a way that
/// waits for the caller.
///
/// Whatever a back end hands on: packets hold whole messages without running status; a system exclusive message is put
/// together, and cut at 64 KiB; clock and active sensing are left out. When a line ends, or who sends over it goes
/// away, the notes that still sound from there are ended by note-offs that the back end makes (see `SoundingNotes`).
class MIDIBackEnd {
  public:
    virtual ~MIDIBackEnd() = default;

    /// "alsa", "jack"...
    virtual std::string_view name() const = 0;

    /// Starts it, once. False, with the reason, when it isn't there; nothing is logged. The listener outlives it.
    virtual bool open(MIDIBackEndListener& listener, Error& error) = 0;

    /// The ports of others, in the system's order. Never our own, nor the system's announcements and timers.
    virtual std::vector<MIDIPortDescription> ports() = 0;

    /// What that source sends comes over the line until `close` returns. False when it is not there.
    virtual bool connectSource(MIDILineID line, const std::string& address) = 0;

    /// Makes a port of our own that other programs see and connect to: what they send to a destination comes over the
    /// line, what is emitted on a source reaches all that listen.
    virtual bool createVirtual(MIDILineID line, MIDIDirection direction, const std::string& name) = 0;
    virtual bool renameVirtual(MIDILineID line, const std::string& name) = 0;

    /// Ends a line of either kind. When it returns nothing comes over it any more.
    virtual void close(MIDILineID line) = 0;

    /// Sends to another's destination, now. False when it is not there or can't take it.
    virtual bool send(const std::string& address, MIDIPacketList packets) = 0;
    /// Sends from our own virtual source.
    virtual bool emit(MIDILineID line, MIDIPacketList packets) = 0;
};

}  // namespace zelvane

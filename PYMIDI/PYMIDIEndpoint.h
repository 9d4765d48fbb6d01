// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PYMIDI/PYMIDIEndpointDescriptor.h"
#include "PYMIDI/PYMIDIReceiver.h"
#include "Platform/Foundation/KeyedArchive.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <set>
#include <string>

namespace zelvane {

/// A source or destination of MIDI, there or not. It starts and stops its traffic by itself, as it has senders and
/// receivers. Used on the thread of the manager, but for `processMIDIPacketList`.
class PYMIDIEndpoint : public Archivable, public PYMIDIReceiver {
  public:
    PYMIDIEndpoint() = default;
    PYMIDIEndpoint(std::string name, std::int32_t uniqueID);
    explicit PYMIDIEndpoint(MIDIObjectRef midiEndpointRef);
    PYMIDIEndpoint(const PYMIDIEndpoint&) = delete;
    PYMIDIEndpoint& operator=(const PYMIDIEndpoint&) = delete;

    std::string archivedClassName() const override { return "PYMIDIEndpoint"; }
    void encodeWithCoder(KeyedArchiver& coder) const override;
    PYMIDIEndpointDescriptor descriptor() const { return {_name.value_or(""), _uniqueID}; }

    /// Takes names and ID from the platform; an offline endpoint keeps those it has.
    void setPropertiesFromMIDIEndpoint();

    /// None for an endpoint that has no name.
    const std::optional<std::string>& name() const { return _name; }
    /// False, and nothing changed, when the platform refuses.
    bool setName(const std::string& name);
    std::int32_t uniqueID() const { return _uniqueID; }
    bool setUniqueID(std::int32_t uniqueID);
    /// What the user reads: it tells when the endpoint is offline.
    std::string displayName() const;
    void setDisplayName(std::optional<std::string> displayName) { _displayName = std::move(displayName); }
    /// Case-insensitive, in the user's language: whether it stands before the other.
    bool compareByDisplayName(const PYMIDIEndpoint& other) const;

    /// 0 while there is none.
    MIDIObjectRef midiEndpointRef() const { return _midiEndpointRef.load(std::memory_order_acquire); }
    bool isIACBus() const;
    bool isOffline() const;
    bool isOnline() const { return !isOffline(); }
    bool isInUse() const;
    bool isOnlineOrInUse() const { return isOnline() || isInUse(); }

    /// Nobody is kept twice, and nobody is owned. One that is removed is not called any more when this returns.
    void addReceiver(PYMIDIReceiver& receiver);
    void removeReceiver(PYMIDIReceiver& receiver);
    void addSender(const void* sender);
    void removeSender(const void* sender);

    /// Any thread but the audio thread.
    void processMIDIPacketList(MIDIPacketList /*packets*/, PYMIDIEndpoint& /*sender*/) override {}
    virtual void startIO() {}
    virtual void stopIO() {}
    virtual bool ioIsRunning() const { return false; }

  protected:
    void setMidiEndpointRef(MIDIObjectRef ref) { _midiEndpointRef.store(ref, std::memory_order_release); }
    /// Hands packets to every receiver, as coming from this endpoint.
    void passToReceivers(MIDIPacketList packets);

  private:
    void startOrStopIO();
    void setUniqueIDFromMIDIEndpoint();
    void setNameFromMIDIEndpoint();
    void setDisplayNameFromMIDIEndpoint();

    std::atomic<MIDIObjectRef> _midiEndpointRef{0};  // written by the manager's thread, read by any
    std::optional<std::string> _name;
    std::int32_t _uniqueID = 0;
    std::optional<std::string> _displayName;

    mutable std::mutex _receiversMutex;  // held while they are called
    std::set<PYMIDIReceiver*> _receivers;
    std::set<const void*> _senders;
};

}  // namespace zelvane

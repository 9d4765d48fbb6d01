// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PYMIDI/PYMIDIEndpoint.h"

#include <atomic>

namespace zelvane {

/// An endpoint of a device or of another program. While its device is away it is offline: what it is called is kept.
class PYMIDIRealEndpoint : public PYMIDIEndpoint {
  public:
    explicit PYMIDIRealEndpoint(MIDIObjectRef midiEndpointRef) : PYMIDIEndpoint(midiEndpointRef) {}
    /// Offline until the next sync.
    explicit PYMIDIRealEndpoint(const PYMIDIEndpointDescriptor& descriptor)
        : PYMIDIEndpoint(descriptor.name(), descriptor.uniqueID()) {}

    /// Finds the device again, by its unique ID and then by its name, and takes what the platform knows of it.
    void syncWithMIDIEndpoint();

    bool ioIsRunning() const override { return midiPortRef() != 0; }

  protected:
    virtual bool doesStillExist(MIDIObjectRef ref) const = 0;
    virtual MIDIObjectRef findByUniqueID(std::int32_t uniqueID) const = 0;
    virtual MIDIObjectRef findByName(const std::string& name) const = 0;

    MIDIObjectRef midiPortRef() const { return _midiPortRef.load(std::memory_order_acquire); }
    void setMidiPortRef(MIDIObjectRef ref) { _midiPortRef.store(ref, std::memory_order_release); }

  private:
    MIDIObjectRef currentReference() const;

    std::atomic<MIDIObjectRef> _midiPortRef{0};  // written by the manager's thread, read by any
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PYMIDI/PYMIDIRealEndpoint.h"

#include <memory>

namespace zelvane {

/// Where a device or another program takes MIDI.
class PYMIDIRealDestination final : public PYMIDIRealEndpoint {
  public:
    static constexpr const char* kClassName = "PYMIDIRealDestination";

    using PYMIDIRealEndpoint::PYMIDIRealEndpoint;
    ~PYMIDIRealDestination() override;

    /// The manager's entry for what was archived; null without a manager.
    static std::shared_ptr<PYMIDIRealDestination> initWithCoder(const KeyedUnarchiver& coder);
    std::string archivedClassName() const override { return kClassName; }

    void startIO() override;
    void stopIO() override;
    void processMIDIPacketList(MIDIPacketList packets, PYMIDIEndpoint& sender) override;

  private:
    bool doesStillExist(MIDIObjectRef ref) const override;
    MIDIObjectRef findByUniqueID(std::int32_t uniqueID) const override;
    MIDIObjectRef findByName(const std::string& name) const override;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PYMIDI/PYMIDIRealEndpoint.h"

#include <memory>

namespace zelvane {

/// What a device or another program sends.
class PYMIDIRealSource final : public PYMIDIRealEndpoint {
  public:
    static constexpr const char* kClassName = "PYMIDIRealSource";

    using PYMIDIRealEndpoint::PYMIDIRealEndpoint;
    ~PYMIDIRealSource() override;

    /// The manager's entry for what was archived; null without a manager.
    static std::shared_ptr<PYMIDIRealSource> initWithCoder(const KeyedUnarchiver& coder);
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

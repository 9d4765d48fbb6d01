// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PYMIDI/PYMIDIVirtualEndpoint.h"

#include <memory>

namespace zelvane {

/// A source of ours: what is sent through it reaches every program that listens.
class PYMIDIVirtualSource final : public PYMIDIVirtualEndpoint {
  public:
    static constexpr const char* kClassName = "PYMIDIVirtualSource";

    /// Null without the manager or when the platform refuses.
    static std::shared_ptr<PYMIDIVirtualSource> initWithName(const std::string& name);
    /// A new source of the archived name and ID.
    static std::shared_ptr<PYMIDIVirtualSource> initWithCoder(const KeyedUnarchiver& coder);
    std::string archivedClassName() const override { return kClassName; }

    void processMIDIPacketList(MIDIPacketList packets, PYMIDIEndpoint& sender) override;

  private:
    PYMIDIVirtualSource() = default;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PYMIDI/PYMIDIVirtualEndpoint.h"
#include "Platform/MIDI/SoundingNotes.h"

#include <memory>
#include <mutex>

namespace zelvane {

/// A destination of ours: what other programs send there reaches its receivers.
class PYMIDIVirtualDestination final : public PYMIDIVirtualEndpoint {
  public:
    static constexpr const char* kClassName = "PYMIDIVirtualDestination";

    ~PYMIDIVirtualDestination() override;

    /// Null without the manager or when the platform refuses.
    static std::shared_ptr<PYMIDIVirtualDestination> initWithName(const std::string& name);
    /// A new destination of the archived name and ID.
    static std::shared_ptr<PYMIDIVirtualDestination> initWithCoder(const KeyedUnarchiver& coder);
    std::string archivedClassName() const override { return kClassName; }

    void processMIDIPacketList(MIDIPacketList packets, PYMIDIEndpoint& sender) override;
    /// What still sounds is ended first.
    void stopIO() override;

  private:
    PYMIDIVirtualDestination() = default;

    std::mutex _notesMutex;  // held while packets are handed on, so that none follows the end
    SoundingNotes _notes;
};

}  // namespace zelvane

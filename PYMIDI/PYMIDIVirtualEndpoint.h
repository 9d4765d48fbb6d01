// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PYMIDI/PYMIDIEndpoint.h"

#include <atomic>

namespace zelvane {

/// An endpoint of this program's own, which other programs see.
class PYMIDIVirtualEndpoint : public PYMIDIEndpoint {
  public:
    ~PYMIDIVirtualEndpoint() override;

    bool isPrivate() const;
    void makePrivate(bool isPrivate);

    bool ioIsRunning() const override { return _ioIsRunning.load(std::memory_order_acquire); }
    void startIO() override { _ioIsRunning.store(true, std::memory_order_release); }
    void stopIO() override { _ioIsRunning.store(false, std::memory_order_release); }

  protected:
    PYMIDIVirtualEndpoint() = default;

    /// Takes on the platform endpoint that was just made for this object: it gets a unique ID if it has none, and the
    /// mark of this process.
    void adopt(MIDIObjectRef endpoint);
    /// Ends the platform endpoint. Subclasses call it first when they go, as it may still be handing something on.
    void dispose();

  private:
    std::atomic<bool> _ioIsRunning{false};  // written by the manager's thread, read by the MIDI thread
};

}  // namespace zelvane

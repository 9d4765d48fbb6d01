// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PYMIDI/PYMIDIEndpointDescriptor.h"
#include "PYMIDI/PYMIDIRealDestination.h"
#include "PYMIDI/PYMIDIRealSource.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zelvane {

/// Posted, with the manager as object, after its lists have changed.
inline constexpr const char* kPYMIDISetupChanged = "PYMIDISetupChanged";

/// The program's one connection to the MIDI service: it keeps the lists of other programs' and devices' endpoints, also
/// of those that are away. Thread of the service's run loop.
class PYMIDIManager {
  public:
    using Sources = std::vector<std::shared_ptr<PYMIDIRealSource>>;
    using Destinations = std::vector<std::shared_ptr<PYMIDIRealDestination>>;

    /// Made when it is first asked for; null while there is no MIDI, which is tried again each time.
    static PYMIDIManager* sharedInstance();
    /// Ends the shared instance, before the service goes.
    static void releaseSharedInstance();

    ~PYMIDIManager();
    PYMIDIManager(const PYMIDIManager&) = delete;
    PYMIDIManager& operator=(const PYMIDIManager&) = delete;

    MIDIObjectRef midiClientRef() const { return _midiClientRef; }

    /// While disabled, changes of the set-up are passed over.
    void disableNotifications() { _notificationsEnabled = false; }
    void enableNotifications() { _notificationsEnabled = true; }
    void processMIDINotification(const MIDINotification& message);

    void updateRealSources();
    void updateRealDestinations();

    /// Sorted by display name; offline ones stay.
    const Sources& realSources() const { return _realSourceArray; }
    const Destinations& realDestinations() const { return _realDestinationArray; }
    Sources realSourcesOnlineOrInUse() const;
    Destinations realDestinationsOnlineOrInUse() const;
    /// Null when there is none.
    std::shared_ptr<PYMIDIRealSource> realSourceWithMIDIEndpointRef(MIDIObjectRef ref) const;
    std::shared_ptr<PYMIDIRealDestination> realDestinationWithMIDIEndpointRef(MIDIObjectRef ref) const;
    /// Found by ID or name; one that is not there yet is added, offline.
    std::shared_ptr<PYMIDIRealSource> realSourceWithDescriptor(const PYMIDIEndpointDescriptor& descriptor);
    std::shared_ptr<PYMIDIRealDestination> realDestinationWithDescriptor(const PYMIDIEndpointDescriptor& descriptor);

    /// "C4" for 60. Throws RangeError beyond 127.
    const std::string& nameOfNote(std::uint32_t note) const;

  private:
    PYMIDIManager() = default;
    bool init();
    void buildNoteNamesArray();

    bool _notificationsEnabled = false;
    MIDIObjectRef _midiClientRef = 0;
    Sources _realSourceArray;
    Destinations _realDestinationArray;
    std::vector<std::string> _noteNamesArray;
};

/// Changes that this program makes itself are no news to it: notifications are disabled while this lives.
class PYMIDINotificationPause {
  public:
    PYMIDINotificationPause();
    ~PYMIDINotificationPause();
    PYMIDINotificationPause(const PYMIDINotificationPause&) = delete;
    PYMIDINotificationPause& operator=(const PYMIDINotificationPause&) = delete;
};

}  // namespace zelvane

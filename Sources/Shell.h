// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Error.h"
#include "Sources/Application.h"

#include <cstdint>
#include <string>

namespace zelvane {

/// What the shell shows of the player.
struct PlayerStatus {
    bool isListening = false;
    bool isRecordingEnabled = false;
    bool isRecording = false;
    std::uint16_t port = 0;  ///< on which it listens
    std::string device;      ///< what plays

    bool operator==(const PlayerStatus&) const = default;
};

/// How the player meets its user: by a desktop, or by the console of a service. Main thread.
class Shell {
  public:
    virtual ~Shell() = default;

    /// Returns once the alert is shown; one that ends the program only once it was read.
    virtual void presentAlert(const Error& error, bool endsProgram) = 0;
    virtual void showStatus(const PlayerStatus& status) = 0;
    /// Tells of a recording that is finished.
    virtual void showRecording(const RecordingSummary& recording) = 0;

    /// How far the search for an instrument's properties has come, up to 4,294,967,294. It is needed once for an
    /// instrument.
    virtual void showScanProgress(const std::string& instrument) = 0;
    virtual void incrementScanProgress(std::uint32_t propertyID) = 0;
    virtual void hideScanProgress() = 0;
    /// Shows the editors of other units.
    virtual void showEditors(const std::shared_ptr<AVAudioUnit>& firstUnit) = 0;
};

}  // namespace zelvane

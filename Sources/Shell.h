// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Error.h"
#include "Sources/Application.h"
#include "Sources/PlayerReport.h"
#include "Sources/PluginWindow.h"
#include "Sources/StatusItem.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

class AppDelegate;
class Zelvane;

/// What the shell shows of the player.
struct PlayerStatus {
    bool isListening = false;
    bool isRecordingEnabled = false;
    bool isRecording = false;
    std::uint16_t port = 0;  ///< on which it listens
    std::string device;      ///< what plays
    PlayerCounts counts;

    bool operator==(const PlayerStatus&) const = default;
};

/// How the player meets its user: by a desktop, or by the console of a service. Main thread.
class Shell {
  public:
    virtual ~Shell() = default;

    /// The application whose actions the menu calls; it outlives the shell's windows. Called once, before all else.
    virtual void setDelegate(AppDelegate& /*delegate*/) {}

    /// Returns once the alert is shown; one that ends the program only once it was read.
    virtual void presentAlert(const Error& error, bool endsProgram) = 0;
    /// In words, beside the status item's image.
    virtual void showStatus(const PlayerStatus& status) = 0;
    /// Whether the counts are shown too, which then come once a second while they change.
    virtual bool showsCounts() const { return false; }
    /// Tells of a recording that is finished.
    virtual void showRecording(const RecordingSummary& recording) = 0;

    /// Brings the menu up, or a window that offers it; false where there is no desktop.
    virtual bool bringUp() { return false; }

    virtual StatusItem& statusItem() = 0;
    virtual MenuItem& startMenuItem() = 0;
    virtual MenuItem& startRecordingMenuItem() = 0;
    virtual MenuItem& deviceSettingsMenuItem() = 0;

    /// Asks where to save, by default under that name; none when the user would rather not.
    virtual std::optional<std::filesystem::path> runSavePanel(const std::string& title, const std::string& nameLabel,
                                                              const std::string& name,
                                                              const std::vector<std::string>& allowedTypes) = 0;
    /// Runs the preferences dialog and returns when it is closed: 1 for OK, 0 for Cancel.
    virtual int runPreferencesDialog(Zelvane& zelvane) = 0;

    /// How far the search for an instrument's properties has come, up to 4,294,967,294. It is needed once for an
    /// instrument.
    virtual void showScanProgress(const std::string& instrument) = 0;
    virtual void incrementScanProgress(std::uint32_t propertyID) = 0;
    virtual void hideScanProgress() = 0;

    /// The window with the editors of the units.
    virtual PluginWindow& pluginWindow() = 0;
};

}  // namespace zelvane

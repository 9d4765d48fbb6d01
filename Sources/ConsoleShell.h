// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/Shell.h"
#include "Sources/SilentItems.h"

namespace zelvane {

/// The shell without a desktop: alerts go to standard error, the state to standard output and the service manager.
/// Nothing is asked.
class ConsoleShell : public Shell {
  public:
    void presentAlert(const Error& error, bool endsProgram) override;
    void showStatus(const PlayerStatus& status) override;
    void showRecording(const RecordingSummary& recording) override;

    StatusItem& statusItem() override { return _statusItem; }
    MenuItem& startMenuItem() override { return _startMenuItem; }
    MenuItem& startRecordingMenuItem() override { return _startRecordingMenuItem; }
    MenuItem& deviceSettingsMenuItem() override { return _deviceSettingsMenuItem; }
    PluginWindow& pluginWindow() override { return _pluginWindow; }

    std::optional<std::filesystem::path> runSavePanel(const std::string& /*title*/, const std::string& /*nameLabel*/,
                                                      const std::string& /*name*/,
                                                      const std::vector<std::string>& /*allowedTypes*/) override {
        return std::nullopt;
    }
    int runPreferencesDialog(Zelvane& /*zelvane*/) override { return 0; }
    void showScanProgress(const std::string& /*instrument*/) override {}
    void incrementScanProgress(std::uint32_t /*propertyID*/) override {}
    void hideScanProgress() override {}

  private:
    PlayerStatus _shown;
    SilentStatusItem _statusItem;
    SilentMenuItem _startMenuItem, _startRecordingMenuItem, _deviceSettingsMenuItem;
    SilentPluginWindow _pluginWindow;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Desktop/Qt/HelpBook.h"
#include "Platform/Desktop/Qt/TrayWatcher.h"
#include "Platform/Foundation/UserDefaults.h"
#include "Sources/AppDelegate.h"
#include "Sources/ConsoleShell.h"
#include "Sources/DesktopShell/AlertWindows.h"
#include "Sources/DesktopShell/FallbackWindow.h"
#include "Sources/MenubarController/MenubarController.h"
#include "Sources/PluginWindowController/PluginWindowController.h"
#include "Sources/Preferences/PluginScanController/PluginScanController.h"

#include <memory>

namespace zelvane {

/// The player on a desktop: a status item with a menu, windows and alerts. What a service manager or a terminal wants
/// to know is told there too. Main thread.
class DesktopShell final : public Shell {
  public:
    explicit DesktopShell(UserDefaults& defaults);
    ~DesktopShell() override;

    void setDelegate(AppDelegate& delegate) override;
    void presentAlert(const Error& error, bool endsProgram) override;
    void showStatus(const PlayerStatus& status) override;
    bool showsCounts() const override { return true; }
    void showRecording(const RecordingSummary& recording) override { _console.showRecording(recording); }
    bool bringUp() override;

    StatusItem& statusItem() override { return _menubar.statusItem(); }
    MenuItem& startMenuItem() override { return _menubar.startMenuItem(); }
    MenuItem& startRecordingMenuItem() override { return _menubar.startRecordingMenuItem(); }
    MenuItem& deviceSettingsMenuItem() override { return _menubar.deviceSettingsMenuItem(); }

    std::optional<std::filesystem::path> runSavePanel(const std::string& title, const std::string& nameLabel,
                                                      const std::string& name,
                                                      const std::vector<std::string>& allowedTypes) override;
    int runPreferencesDialog(Zelvane& zelvane) override;

    void showScanProgress(const std::string& instrument) override;
    void incrementScanProgress(std::uint32_t propertyID) override;
    void hideScanProgress() override;
    PluginWindow& pluginWindow() override { return _pluginWindow; }

  private:
    void showFallbackWindow();
    void trayWasFound();

    UserDefaults& _defaults;
    AppDelegate* _delegate = nullptr;
    ConsoleShell _console;
    AlertWindows _alerts;
    HelpBook _helpBook;
    MenubarController _menubar;
    std::unique_ptr<FallbackWindow> _fallbackWindow;
    std::unique_ptr<TrayWatcher> _trayWatcher;
    std::unique_ptr<PluginScanController> _scanView;
    PluginWindowController _pluginWindow{
        {[this] { _delegate->changeUnitNumber(); }, [this] { _delegate->sendMicroTunings(); }}};
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/DesktopShell/DesktopShell.h"

#include "Sources/AppDelegate.h"
#include "Sources/DesktopShell/SavePanel.h"
#include "Sources/DesktopShell/StatusText.h"
#include "Sources/Preferences/prefDialogController.h"

#include <QApplication>

namespace zelvane {

namespace {

constexpr std::chrono::seconds kPatienceForTray(10);

}  // namespace

DesktopShell::DesktopShell(UserDefaults& defaults) : _defaults(defaults) {
    _menubar.awakeFromNib();
    _menubar.statusItem().setToolTip(QString::fromStdString(statusText({})));
    _menubar.statusItem().setChangeHandler([this] {
        if (_fallbackWindow != nullptr) _fallbackWindow->update();
    });
    _trayWatcher = std::make_unique<TrayWatcher>(
        kPatienceForTray, [this] { trayWasFound(); }, [this] { showFallbackWindow(); });
}

DesktopShell::~DesktopShell() = default;

void DesktopShell::setDelegate(AppDelegate& delegate) {
    _delegate = &delegate;
    _menubar.setDelegate(delegate);
}

void DesktopShell::trayWasFound() {
    _menubar.statusItem().showInTray();
    _fallbackWindow.reset();
}

void DesktopShell::showFallbackWindow() {
    if (_fallbackWindow == nullptr)
        _fallbackWindow = std::make_unique<FallbackWindow>(_menubar.statusItem(), _menubar.statusMenu());
    _fallbackWindow->bringUp();
}

// Also while it is still looked for a tray: whoever starts the player twice wants to see something now.
bool DesktopShell::bringUp() {
    if (QWidget* dialog = QApplication::activeModalWidget()) {
        dialog->raise();
        dialog->activateWindow();
    } else if (_menubar.statusItem().isInTray()) {
        _menubar.statusItem().popUpMenu();
    } else {
        showFallbackWindow();
    }
    return true;
}

// On the console too, for those who started the player there.
void DesktopShell::presentAlert(const Error& error, bool endsProgram) {
    _console.presentAlert(error, endsProgram);
    if (endsProgram) {
        _alerts.presentAndWait(error);
    } else {
        _alerts.present(error);
    }
}

void DesktopShell::showStatus(const PlayerStatus& status) {
    _console.showStatus(status);
    _menubar.statusItem().setToolTip(QString::fromStdString(statusText(status)));
}

std::optional<std::filesystem::path> DesktopShell::runSavePanel(const std::string& title, const std::string& nameLabel,
                                                                const std::string& name,
                                                                const std::vector<std::string>& allowedTypes) {
    return zelvane::runSavePanel(title, nameLabel, name, allowedTypes);
}

int DesktopShell::runPreferencesDialog(Zelvane& zelvane) {
    prefDialogController dialog(_defaults, *_delegate, LoginItem::mainAppService(), _helpBook);
    dialog.setZelvane(zelvane);
    dialog.setup();
    return dialog.runModal();
}

void DesktopShell::showScanProgress(const std::string& instrument) {
    _scanView = std::make_unique<PluginScanController>();
    _scanView->showScanProgress(instrument);
}

void DesktopShell::incrementScanProgress(std::uint32_t propertyID) {
    if (_scanView != nullptr) _scanView->incrementScanProgress(propertyID);
}

// The controller stays until the next search.
void DesktopShell::hideScanProgress() {
    if (_scanView != nullptr) _scanView->hideScanProgress();
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/LocalizedString.h"
#include "Sources/AppDelegate.h"

namespace zelvane {

bool AppDelegate::hasAuView() {
    return _zelvane != nullptr && _zelvane->auView(1) != nullptr;
}

void AppDelegate::clearAUViews() {
    PluginWindow& window = _shell.pluginWindow();
    for (const auto& view : window.subviews()) window.removeSubview(*view);
}

void AppDelegate::embedAUView(const std::shared_ptr<View>& view) {
    PluginWindow& window = _shell.pluginWindow();
    bool isThere = false;
    for (const auto& subview : window.subviews()) {
        isThere = isThere || subview == view;
        subview->setHidden(subview != view);
    }
    window.setContentSize(view->width(), view->height() + PluginWindow::kControlsHeight);
    if (!isThere) window.addSubview(view);
}

void AppDelegate::auViewDidChange(const std::shared_ptr<AVAudioUnit>& synthNode, const std::shared_ptr<View>& view) {
    PluginWindow& window = _shell.pluginWindow();
    _shell.deviceSettingsMenuItem().setTitle(synthNode->name() + localizedString(" Settings…"));
    if (view == nullptr) return window.orderOut();
    embedAUView(view);
    window.setTitle(synthNode->name() + localizedString(" Settings"));
    if (_zelvane != nullptr) _zelvane->propagateFromMicroUnitNumber(1);
    window.selectItemAtIndex(0);
}

void AppDelegate::showDeviceSettings() {
    _shell.pluginWindow().makeKeyAndOrderFront();
}

void AppDelegate::changeUnitNumber() {
    const int number = _shell.pluginWindow().indexOfSelectedItem() + 1;
    if (const auto view = _zelvane->auView(number)) embedAUView(view);
    _zelvane->propagateFromMicroUnitNumber(number);
}

}  // namespace zelvane

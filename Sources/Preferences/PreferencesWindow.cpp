// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Preferences/PreferencesWindow.h"

#include <utility>

namespace zelvane {

/// Labels stay as they are: what is being done can be read there.
void PreferencesWindow::setBusy(bool isBusy) {
    if (isBusy == std::exchange(_isBusy, isBusy)) return;
    if (!isBusy) {
        for (auto* widget : std::exchange(_resting, {})) widget->setEnabled(true);
        if (_focus != nullptr) _focus->setFocus();
        return unsetCursor();
    }
    _focus = focusWidget();
    for (auto* widget : findChildren<QWidget*>()) {
        if (widget->focusPolicy() == Qt::NoFocus || !widget->isEnabledTo(this)) continue;
        _resting.push_back(widget);
        widget->setEnabled(false);
    }
    setCursor(Qt::WaitCursor);
}

void PreferencesWindow::reject() {
    if (!_isBusy) QDialog::reject();
}

}  // namespace zelvane

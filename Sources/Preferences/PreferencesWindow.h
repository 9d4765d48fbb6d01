// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>
#include <vector>

namespace zelvane {

/// A dialog that stays open, but takes no input, while it is busy.
class PreferencesWindow : public QDialog {
  public:
    using QDialog::QDialog;

    void setBusy(bool isBusy);
    bool isBusy() const { return _isBusy; }
    /// Escape, or the window's own way of closing.
    void reject() override;

  private:
    bool _isBusy = false;
    std::vector<QWidget*> _resting;
    QWidget* _focus = nullptr;
};

}  // namespace zelvane

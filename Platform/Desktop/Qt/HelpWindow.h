// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>

class QTextBrowser;

namespace zelvane {

/// Shows pages of help where there is no browser.
class HelpWindow : public QDialog {
  public:
    explicit HelpWindow(QWidget* parent);

    void show(const QString& page);

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void applyStyle();

    QTextBrowser* _pages;
};

}  // namespace zelvane

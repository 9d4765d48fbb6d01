// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

namespace zelvane {

/// Keeps placeholders readable on any background: Qt reads a desktop's colours without theirs, and leaves them black in
/// the dark. Main thread, while the application lives.
class PlaceholderColor final : public QObject {
    Q_OBJECT

  public:
    explicit PlaceholderColor(QObject& application);

  private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    static void follow();
};

}  // namespace zelvane

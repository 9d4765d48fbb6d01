// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Error.h"

#include <QMessageBox>
#include <QPointer>
#include <QString>
#include <map>

namespace zelvane {

/// Alerts in windows of their own, which nothing waits for. The same text again, while its window is open, is counted
/// there. Main thread.
class AlertWindows {
  public:
    AlertWindows() = default;
    ~AlertWindows();
    AlertWindows(const AlertWindows&) = delete;
    AlertWindows& operator=(const AlertWindows&) = delete;

    void present(const Error& error);
    /// Returns once it was read.
    void presentAndWait(const Error& error);

  private:
    struct Window {
        QPointer<QMessageBox> box;
        int times = 0;
    };

    std::map<QString, Window> _windows;
};

}  // namespace zelvane

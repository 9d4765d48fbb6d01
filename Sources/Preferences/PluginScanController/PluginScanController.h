// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"

#include <QWidget>
#include <cstdint>
#include <memory>
#include <string>

namespace Ui {
class PluginScanController;
}

namespace zelvane {

/// The window that shows how far the search for an instrument's properties has come, and how long it will still take.
/// Main thread.
class PluginScanController {
  public:
    explicit PluginScanController(const Clock& clock = Clock::monotonic());
    ~PluginScanController();

    QWidget& window() { return *_window; }

    /// Shows the window for an instrument's search, which begins now.
    void showScanProgress(const std::string& instrument);
    /// The search has come to that ID. Most of them change nothing in the window.
    void incrementScanProgress(std::uint32_t propertyID);
    void hideScanProgress();

  private:
    void windowDidLoad();
    void showRemaining(double percentage);

    const Clock& _clock;
    const std::unique_ptr<QWidget> _window;
    const std::unique_ptr<Ui::PluginScanController> _outlets;
    TimePoint _startTime;
};

}  // namespace zelvane

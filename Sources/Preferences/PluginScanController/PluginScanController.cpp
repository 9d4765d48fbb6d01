// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Preferences/PluginScanController/PluginScanController.h"

#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"

#include "ui_PluginScanController.h"

#include <algorithm>
#include <limits>

namespace zelvane {

namespace {

constexpr std::uint32_t kShownStep = 10'000;
constexpr double kAllIDs = 4'294'967'295.0;

QString localized(const char* pattern, const std::vector<std::string>& arguments) {
    return QString::fromStdString(formatted(localizedString(pattern), arguments));
}

// Whatever the user's language makes of decimals.
std::string sixDecimals(double value) {
    return QString::number(value, 'f', 6).toStdString();
}

std::string twoDigits(std::uint32_t number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

}  // namespace

PluginScanController::PluginScanController(const Clock& clock)
    : _clock(clock),
      _window(std::make_unique<QWidget>()),
      _outlets(std::make_unique<Ui::PluginScanController>()),
      _startTime(clock.now()) {
    _outlets->setupUi(_window.get());
    windowDidLoad();
}

PluginScanController::~PluginScanController() = default;

void PluginScanController::windowDidLoad() {
    _outlets->progressIndicator->setMinimum(0);
}

void PluginScanController::showScanProgress(const std::string& instrument) {
    _window->setWindowTitle(localized("Scan %@ properties", {instrument}));
    _window->show();
    _window->raise();
    _window->activateWindow();
    _outlets->progressDescription->setText(
        localized("Zelvane is scanning %@ for properties. This will take a while and is needed only once. When "
                  "finished, the results will be cached to disk for optimal functionality.",
                  {instrument}));
    _startTime = _clock.now();
}

void PluginScanController::incrementScanProgress(std::uint32_t propertyID) {
    if (propertyID % kShownStep != 0) return;
    const double percentage = propertyID * 100.0 / kAllIDs;
    _outlets->currentPercentage->setText(localized("Percentage done %f%%", {sixDecimals(percentage)}));
    if (percentage > 0) showRemaining(percentage);
    _outlets->progressIndicator->setValue(static_cast<int>(percentage));
}

void PluginScanController::showRemaining(double percentage) {
    const double elapsed = std::chrono::duration<double>(_clock.now() - _startTime).count();
    const double estimate = (100.0 - percentage) * elapsed / percentage;
    const auto seconds =
        static_cast<std::uint32_t>(std::clamp(estimate, 0.0, double{std::numeric_limits<std::uint32_t>::max()}));
    _outlets->estimatedRemaining->setText(
        localized("Time remaining %02d:%02d:%02d",
                  {twoDigits(seconds / 3600), twoDigits(seconds % 3600 / 60), twoDigits(seconds % 60)}));
}

void PluginScanController::hideScanProgress() {
    _window->hide();
}

}  // namespace zelvane

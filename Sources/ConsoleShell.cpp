// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/ConsoleShell.h"

#include "Platform/Desktop/ServiceNotifier.h"

#include <cmath>
#include <iostream>

namespace zelvane {

namespace {

/// In milliseconds, whatever the locale.
std::string secondsText(double seconds) {
    const auto milliseconds = std::llround(seconds * 1000);
    std::string fraction = std::to_string(milliseconds % 1000);
    fraction.insert(0, 3 - fraction.size(), '0');
    return std::to_string(milliseconds / 1000) + "." + fraction;
}

}  // namespace

void ConsoleShell::presentAlert(const Error& error, bool /*endsProgram*/) {
    std::cerr << error.description + "\n";
    if (!error.recoverySuggestion.empty()) std::cerr << error.recoverySuggestion + "\n";
}

void ConsoleShell::showStatus(const PlayerStatus& status) {
    if (status == _shown) return;
    if (status.isListening && !_shown.isListening) {
        std::cout << "Zelvane: playing on " + status.device + "\n";
        std::cout << "Zelvane: listening on 127.0.0.1:" + std::to_string(status.port) + "\n" << std::flush;
        notifyServiceManager("READY=1");
    }
    _shown = status;
}

void ConsoleShell::showRecording(const RecordingSummary& recording) {
    std::cout << "Zelvane: recorded " + secondsText(recording.seconds) + " s to " + recording.path.string() + "\n";
    if (recording.lostSeconds > 0)
        std::cout << "Zelvane: the disk was too slow, " + secondsText(recording.lostSeconds) +
                         " s of them are silence\n";
    std::cout << std::flush;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/ConsoleShell.h"

#include "Platform/Desktop/ServiceNotifier.h"

#include <iostream>

namespace zelvane {

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

}  // namespace zelvane

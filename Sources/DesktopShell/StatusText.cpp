// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/DesktopShell/StatusText.h"

#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"

namespace zelvane {

std::string statusText(const PlayerStatus& status) {
    if (!status.isListening) return localizedString("Zelvane is not listening.");
    const std::string text = formatted(localizedString("Zelvane listens on port %d and plays on %@."),
                                       {std::to_string(status.port), status.device});
    if (status.isRecording) return text + "\n" + localizedString("It is recording.");
    if (status.isRecordingEnabled) return text + "\n" + localizedString("A recording begins with the next note.");
    return text;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/DesktopShell/StatusText.h"

#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"

namespace zelvane {

namespace {

/// Empty while nothing was played.
std::string countsText(const PlayerCounts& counts) {
    const std::uint64_t messages = counts.oscMessages + counts.midiMessages;
    if (messages == 0) return {};
    std::string text = "\n" + formatted(localizedString("Messages: %d, notes: %d"),
                                        {std::to_string(messages), std::to_string(counts.notes)});
    if (counts.lateEvents + counts.xruns + counts.droppedFrames > 0)
        text += "\n" + formatted(localizedString("Late events: %d, xruns: %d, dropped frames: %d"),
                                 {std::to_string(counts.lateEvents), std::to_string(counts.xruns),
                                  std::to_string(counts.droppedFrames)});
    return text;
}

}  // namespace

std::string statusText(const PlayerStatus& status) {
    if (!status.isListening) return localizedString("Zelvane is not listening.");
    std::string text = formatted(localizedString("Zelvane listens on port %d and plays on %@."),
                                 {std::to_string(status.port), status.device});
    if (status.isRecording)
        text += "\n" + localizedString("It is recording.");
    else if (status.isRecordingEnabled)
        text += "\n" + localizedString("A recording begins with the next note.");
    return text + countsText(status.counts);
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Log.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaController.h"
#include "Sources/Zelvane/OSCDecoder/OSCDecoder.h"

#include <optional>

namespace zelvane {

namespace {

/// What sets the two kinds of file apart.
struct FileKind {
    const char* key;
    bool (ScalaController::*open)(const std::optional<std::string>&);
    void (ScalaController::*restore)();
    const char* missing;
    const char* refused;
};

/// False when the file, or the message, was refused.
bool load(const FileKind& kind, const OSCMessage& message, ScalaController& scala, UserDefaults& defaults) {
    if (message.arguments.empty()) {
        Log::write(kind.missing, {"gotOSCPacket:"});
        return false;
    }
    const OSCArgument& path = message.arguments.front();
    if (path.isString() && path.stringValue().empty()) {
        (scala.*kind.restore)();
        defaults.set(kind.key, {std::string()});
    } else if (path.isString() && (scala.*kind.open)(path.stringValue())) {
        defaults.set(kind.key, {path.stringValue()});
    } else {
        Log::write(kind.refused, {"gotOSCPacket:", message.argumentsDescription()});
        return false;
    }
    return true;
}

}  // namespace

bool OSCDecoder::dispatchKeymap(const OSCMessage& message) {
    static constexpr FileKind kKeymap{
        "keymap", &ScalaController::openKeymap, &ScalaController::restoreKeymap,
        "OSCDecoder: [%@] /om/keymap should have a string argument pointing to a valid .kbm file",
        "OSCDecoder: [%@] first argument to /om/keymap should be a string pointing to a valid .kbm file, received %@"};
    return load(kKeymap, message, _scala, _defaults);
}

bool OSCDecoder::dispatchTuning(const OSCMessage& message) {
    static constexpr FileKind kTuning{
        "tuning", &ScalaController::openTuning, &ScalaController::restoreTuningMap,
        "OSCDecoder: [%@] /om/tuning should have a string argument pointing to a valid .scl file",
        "OSCDecoder: [%@] first argument to /om/tuning should be a string pointing to a valid .scl file, received %@"};
    return load(kTuning, message, _scala, _defaults);
}

}  // namespace zelvane

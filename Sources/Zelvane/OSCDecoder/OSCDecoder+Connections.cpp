// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/Text.h"
#include "Sources/Zelvane/OSCDecoder/OSCDecoder.h"

namespace zelvane {

void OSCDecoder::setUpSendOSCConnection(const std::string& host, std::uint16_t port) {
    _oscSendConnection = std::make_unique<OSCConnection>();
    Error refusal;
    _sendConnectionIsRunning = _oscSendConnection->connectToHost(host, port, refusal);
    if (_sendConnectionIsRunning) return;
    const std::string portText = std::to_string(port);
    Log::write(
        "OSCDecoder: [%@] unable to connect to host %@ port %d, unable to ask client for the next chunk of music.",
        {"setUpSendOSCConnection:withPort:", host, portText});
    presentErrorWaiting(
        _application,
        {"OSCController", 1,
         formatted(localizedString("Sorry, OSC is unable to connect to host %@ port %d. Unable to ask client for the "
                                   "next chunk of music."),
                   {host, portText})});
}

void OSCDecoder::askForNextMicrotoneChunk() {
    if (_sendConnectionIsRunning) _oscSendConnection->sendPacket({"/vesk.mq/more", {}});
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/OSC/OSCConnection.h"

#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/RunLoop.h"
#include "Platform/Foundation/Text.h"
#include "Platform/OSC/OSCReceiver.h"
#include "Platform/OSC/OSCSocket.h"

#include <cerrno>
#include <system_error>

namespace zelvane {

namespace {

const char* const kDomain = "OSCConnection";

Error bindError(int number, const std::string& address, std::uint16_t port) {
    const std::vector<std::string> place{address, std::to_string(port), std::generic_category().message(number)};
    if (number == EADDRINUSE) {
        return {
            kDomain, number,
            formatted(localizedString("Sorry, OSC is unable to listen on %@ port %d, which another program (or another "
                                      "player) is using."),
                      place)};
    }
    return {kDomain, number, formatted(localizedString("Sorry, OSC is unable to listen on %@ port %d: %@."), place)};
}

Error connectError(int number, const std::string& host, std::uint16_t port) {
    return {kDomain, number,
            formatted(localizedString("Sorry, OSC is unable to connect to host %@ port %d: %@."),
                      {host, std::to_string(port), std::generic_category().message(number)})};
}

/// Does something with the socket, which is made where there is none and kept only on success.
template <typename Socket, typename Action>
int useSocket(std::unique_ptr<Socket>& kept, Action action) {
    if (kept) return action(*kept);
    auto fresh = std::make_unique<Socket>();
    int number = fresh->open();
    if (number == 0) number = action(*fresh);
    if (number == 0) kept = std::move(fresh);
    return number;
}

}  // namespace

OSCConnection::OSCConnection() = default;

OSCConnection::~OSCConnection() = default;

void OSCConnection::setDelegate(OSCConnectionDelegate* delegate) {
    _delegate = delegate;
}

void OSCConnection::setContinuouslyReceivePackets(bool continuously) {
    _continuously = continuously;
    if (_receiver) _receiver->setContinuous(continuously);
}

bool OSCConnection::bindToAddress(const std::string& address, std::uint16_t port, Error& error) {
    const int number = useSocket(_socket, [&](Socket& socket) { return socket.bind(address, port); });
    if (number != 0) error = bindError(number, address, port);
    return number == 0;
}

std::uint16_t OSCConnection::localPort() const {
    return _socket ? _socket->localPort() : 0;
}

void OSCConnection::receivePacket() {
    RunLoop* const runLoop = RunLoop::current();
    if (!_socket || runLoop == nullptr) {
        Log::write(
            "OSCConnection: [%@] unable to receive, %@",
            {"receivePacket", _socket ? "this thread has no run loop" : "the connection is bound to no address"});
        return;
    }
    if (!_receiver) _receiver = std::make_unique<Receiver>(*this, *_socket, *runLoop);
    _receiver->setContinuous(_continuously);
    if (!_continuously) _receiver->request();
}

void OSCConnection::disconnect() {
    _receiver.reset();
    _socket.reset();
}

bool OSCConnection::connectToHost(const std::string& host, std::uint16_t port, Error& error) {
    const int number = useSocket(_socket, [&](Socket& socket) { return socket.connect(host, port); });
    if (number != 0) error = connectError(number, host, port);
    return number == 0;
}

void OSCConnection::sendPacket(const OSCMessage& message) {
    if (_socket) _socket->send(serializeOSCMessage(message));
}

void OSCConnection::sendPacketTo(const OSCMessage& message, const std::string& host, std::uint16_t port) {
    if (_socket) _socket->sendTo(serializeOSCMessage(message), host, port);
}

}  // namespace zelvane

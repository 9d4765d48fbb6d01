// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Session/NsmClient.h"

#include "Platform/Foundation/Log.h"

#include <unistd.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace zelvane {

namespace {

constexpr const char* kAnnounce = "/nsm/server/announce";
constexpr const char* kOpen = "/nsm/client/open";
constexpr const char* kSave = "/nsm/client/save";
constexpr std::int32_t kMajorVersion = 1, kMinorVersion = 2;

/// None of those that there are: what is set is stored at once, there is one session for each start, and what can be
/// seen of the program is not the manager's to hide.
constexpr const char* kCapabilities = "";

OSCArgument text(std::string value) {
    return {OSCArgument::Value(std::move(value))};
}

OSCArgument number(std::int32_t value) {
    return {OSCArgument::Value(value)};
}

std::string stringAt(const OSCMessage& message, std::size_t index) {
    return index < message.arguments.size() ? message.arguments[index].stringValue() : std::string();
}

bool isAbout(const OSCMessage& message, const char* path) {
    return stringAt(message, 0) == path;
}

}  // namespace

NsmClient::NsmClient(RunLoop& runLoop, std::string url)
    : _runLoop(runLoop), _url(std::move(url)), _manager(NsmAddress::parse(_url)) {
    _connection.setDelegate(this);
    _connection.setContinuouslyReceivePackets(true);
}

NsmClient::~NsmClient() {
    if (_limit) _limit->invalidate();
    if (_session && !_isOpenAnswered)
        complain(kOpen, Code::general, "the program could not start; its output says why");
    _connection.disconnect();
}

void NsmClient::announce(const std::string& name, const std::string& executable) {
    if (!_manager) return end(State::unreachable, "\"" + _url + "\" is no address of a session manager");
    Error error;
    if (!_connection.bindToAddress(_manager->localHost, 0, error)) return end(State::unreachable, error.description);
    _connection.receivePacket();
    expectWithin(kAnswerLimit, State::unreachable, "the session manager at " + _url + " does not answer");
    const OSCMessage message{kAnnounce,
                             {text(name), text(kCapabilities), text(executable), number(kMajorVersion),
                              number(kMinorVersion), number(static_cast<std::int32_t>(::getpid()))}};
    _connection.sendPacketTo(message, _manager->host, _manager->port);
}

void NsmClient::answerOpen(SaveHandler save) {
    if (!_session || _isOpenAnswered) return;
    _isOpenAnswered = true;
    _save = std::move(save);
    reply(kOpen, "OK");
}

// A machine has several addresses, so the manager's may not be the one that it was called by. Its port is its own.
void NsmClient::oscConnection(OSCConnection& /*connection*/, const OSCPacket& packet, const std::string& host,
                              std::uint16_t port) {
    if (packet.isBundle() || port != _manager->port) {
        Log::write("NsmClient: [%@] ignored what came from %@:%@, which is not the session manager",
                   {"didReceivePacket", host, std::to_string(port)});
        return;
    }
    _replyHost = host;
    take(packet.message());
}

void NsmClient::take(const OSCMessage& message) {
    if (message.address == "/reply" || message.address == "/error") {
        takeAnswer(message);
    } else if (message.address == kOpen) {
        takeOpen(message);
    } else if (message.address == kSave) {
        takeSave();
    }
}

void NsmClient::takeAnswer(const OSCMessage& message) {
    if (_state != State::waiting || _isAccepted || !isAbout(message, kAnnounce)) return;
    if (message.address == "/error") return end(State::refused, "the session manager refuses: " + stringAt(message, 2));
    _isAccepted = true;
    expectWithin(kOpenLimit, State::refused, "the session manager at " + _url + " opens no session");
}

void NsmClient::takeOpen(const OSCMessage& message) {
    if (_session) return complain(kOpen, Code::notNow, "the player stays in the session it was started for");
    if (_state != State::waiting) return;
    Session session{stringAt(message, 0), stringAt(message, 1), stringAt(message, 2)};
    if (!session.folder.is_absolute() || session.clientID.empty())
        return complain(kOpen, Code::general, "a session needs an absolute path and the client's ID");
    std::error_code failure;
    std::filesystem::create_directories(session.folder, failure);
    if (failure) {
        const std::string reason = "unable to make " + session.folder.string() + ": " + failure.message();
        complain(kOpen, Code::createFailed, reason);
        return end(State::refused, reason);
    }
    _session = std::move(session);
    end(State::open, {});
}

void NsmClient::takeSave() {
    if (!_session) return complain(kSave, Code::noSessionOpen, "no session is open");
    if (!_save) return complain(kSave, Code::notNow, "the player is still starting");
    Error error;
    if (_save(error)) return reply(kSave, "OK");
    complain(kSave, Code::general, error.description);
}

void NsmClient::reply(const std::string& path, const std::string& words) {
    _connection.sendPacketTo({"/reply", {text(path), text(words)}}, _replyHost, _manager->port);
}

void NsmClient::complain(const std::string& path, Code code, const std::string& words) {
    _connection.sendPacketTo({"/error", {text(path), number(static_cast<std::int32_t>(code)), text(words)}}, _replyHost,
                             _manager->port);
}

void NsmClient::expectWithin(Duration limit, State otherwise, const std::string& reason) {
    if (_limit) _limit->invalidate();
    _limit = Timer::after(limit, [this, otherwise, reason](Timer&) { end(otherwise, reason); });
    _runLoop.add(_limit);
}

void NsmClient::end(State state, const std::string& reason) {
    if (_limit) _limit->invalidate();
    _state = state;
    _reason = reason;
}

}  // namespace zelvane

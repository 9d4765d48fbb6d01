// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Jack/JackClient.h"

#include "Platform/Jack/ScopedBrokenPipeBlock.h"
#include "Platform/Jack/Uncancelled.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <set>

namespace zelvane {

namespace {

/// Clients of one server learn of its end one after the other. One that has not within this time is at a server that
/// lives, and has only dropped the other.
constexpr Duration kNewsSpread = std::chrono::seconds(1);

/// The clients of this process, and when each library's last one lost its server. Never destroyed: a client may live to
/// the very end.
struct Register {
    std::mutex mutex;
    std::set<const JackClient*> clients;
    std::map<decltype(JackLibrary::clientOpen), std::atomic<TimePoint>> deaths;

    std::atomic<TimePoint>& lastDeath(const JackLibrary& library) {
        const std::lock_guard lock(mutex);
        return deaths.try_emplace(library.clientOpen, TimePoint::min()).first->second;
    }
};

Register& theRegister() {
    static Register& all = *new Register;
    return all;
}

/// The library may open its file at the first use, and not expect two threads at that.
std::mutex& propertiesMutex() {
    static std::mutex oneAtATime;
    return oneAtATime;
}

}  // namespace

std::unique_ptr<JackClient> JackClient::open(const JackLibrary& library, const char* name, WakeUp* whenDead) {
    if (isAnyDeadLeft()) return nullptr;
    const ScopedBrokenPipeBlock block;
    jack_client_t* client = library.clientOpen(name, JackNoStartServer, nullptr);
    if (client == nullptr) return nullptr;
    return std::unique_ptr<JackClient>(new JackClient(library, client, whenDead));
}

bool JackClient::isAnyDeadLeft() {
    const std::lock_guard lock(theRegister().mutex);
    return std::ranges::any_of(theRegister().clients, [now = Clock::monotonic().now()](const JackClient* client) {
        return client->isDead() || client->isSuspect(now);
    });
}

bool JackClient::isSuspect(TimePoint now) const {
    const TimePoint lastDeath = _lastDeath.load(std::memory_order_relaxed);
    return _openedAt <= lastDeath && now < lastDeath + kNewsSpread;
}

JackClient::JackClient(const JackLibrary& library, jack_client_t* client, WakeUp* whenDead)
    : _library(library), _client(client), _whenDead(whenDead), _lastDeath(theRegister().lastDeath(library)) {
    // Which of the two is called depends on the library and the way the server ends; both may be.
    library.onShutdown(
        client, [](void* self) { static_cast<JackClient*>(self)->die(); }, this);
    library.onInfoShutdown(
        client, [](jack_status_t, const char*, void* self) { static_cast<JackClient*>(self)->die(); }, this);
    const std::lock_guard lock(theRegister().mutex);
    theRegister().clients.insert(this);
}

JackClient::~JackClient() {
    {
        const ScopedBrokenPipeBlock block;
        _library.clientClose(_client);
    }
    const std::lock_guard lock(theRegister().mutex);
    theRegister().clients.erase(this);
}

/// A thread of the library, which may not do more.
void JackClient::die() {
    uncancelled([this] {
        // The time first: whoever sees this one dead takes the others for suspect.
        _lastDeath.store(Clock::monotonic().now(), std::memory_order_relaxed);
        _isDead.store(true, std::memory_order_release);
        if (_whenDead != nullptr) _whenDead->post();
    });
}

std::vector<std::string> JackClient::ports(const char* type, unsigned long flags) const {
    std::vector<std::string> ports;
    const ScopedBrokenPipeBlock block;
    const char** names = isDead() ? nullptr : _library.ports(_client, nullptr, type, flags);
    for (const char** name = names; name != nullptr && *name != nullptr; ++name) ports.emplace_back(*name);
    if (names != nullptr) _library.free(names);
    return ports;
}

/// What stands before the port's short name: a colon may stand in either.
std::string JackClient::ownerOf(const std::string& portName) const {
    const jack_port_t* port = _library.portByName(_client, portName.c_str());
    const char* shortName = port != nullptr ? _library.portShortName(port) : nullptr;
    const std::string ending = ":" + std::string(shortName != nullptr ? shortName : "");
    if (shortName != nullptr && portName.ends_with(ending)) return portName.substr(0, portName.size() - ending.size());
    return portName.substr(0, portName.find(':'));
}

/// Renaming a port reaches nobody on PipeWire; metadata do.
void JackClient::setPrettyName(jack_uuid_t port, const std::string& name) const {
    setProperty(port, "http://jackaudio.org/metadata/pretty-name", name, "text/plain");
}

void JackClient::setOrder(jack_uuid_t port, int place) const {
    setProperty(port, "http://jackaudio.org/metadata/order", std::to_string(place),
                "http://www.w3.org/2001/XMLSchema#integer");
}

void JackClient::setIcon() const {
    if (const auto client = ownUuid())
        setProperty(*client, "http://jackaudio.org/metadata/icon-name", "zelvane", "text/plain");
}

void JackClient::removeIcon() const {
    if (const auto client = ownUuid()) removeProperties(*client);
}

void JackClient::setProperty(jack_uuid_t subject, const char* key, const std::string& value, const char* type) const {
    const std::lock_guard lock(propertiesMutex());
    const auto turn = turnToAsk();
    const ScopedBrokenPipeBlock block;
    if (_library.setProperty == nullptr || isDead()) return;
    _library.setProperty(_client, subject, key, value.c_str(), type);
}

void JackClient::removeProperties(jack_uuid_t subject) const {
    const std::lock_guard lock(propertiesMutex());
    const auto turn = turnToAsk();
    const ScopedBrokenPipeBlock block;
    if (_library.removeProperties == nullptr || isDead()) return;
    _library.removeProperties(_client, subject);
}

std::optional<jack_uuid_t> JackClient::ownUuid() const {
    const auto turn = turnToAsk();
    const ScopedBrokenPipeBlock block;
    if (_library.uuidForClientName == nullptr || _library.parseUuid == nullptr || isDead()) return {};
    char* text = _library.uuidForClientName(_client, _library.clientName(_client));
    if (text == nullptr) return {};
    jack_uuid_t uuid = 0;
    const bool isUuid = _library.parseUuid(text, &uuid) == 0;
    _library.free(text);
    return isUuid ? std::optional(uuid) : std::nullopt;
}

std::optional<jack_uuid_t> JackClient::uuidOf(const jack_port_t* port) const {
    if (_library.portUuid == nullptr) return {};
    return _library.portUuid(port);
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/OSC/OSCInbox.h"

#include <iterator>
#include <utility>

namespace zelvane {

namespace {

// What a packet takes beside its bytes, roughly.
constexpr std::size_t kBytesPerPacket = 64;

}  // namespace

bool OSCConnection::Inbox::add(std::vector<Arrival>& arrivals) {
    if (arrivals.empty()) return true;
    const TimePoint firstTime = arrivals.front().eventTime;
    std::size_t bytes = 0;
    for (const auto& arrival : arrivals) bytes += kBytesPerPacket + arrival.size;
    _bytesWaiting.fetch_add(bytes, std::memory_order_relaxed);
    bool isFirst = false;
    {
        const std::lock_guard lock(_mutex);
        isFirst = _arrivals.empty();
        std::move(arrivals.begin(), arrivals.end(), std::back_inserter(_arrivals));
    }
    arrivals.clear();
    return !isFirst || _runLoop.performAt(firstTime, [inbox = shared_from_this()] { inbox->collect(); });
}

void OSCConnection::Inbox::close() {
    _connection = nullptr;
    _ready.clear();
}

/// Runs at the event time of the first packet that was left here since the last time.
void OSCConnection::Inbox::collect() {
    std::vector<Arrival> arrivals;
    {
        const std::lock_guard lock(_mutex);
        arrivals.swap(_arrivals);
    }
    if (_connection == nullptr) return;
    for (std::size_t index = 1; index < arrivals.size(); ++index) {
        _runLoop.performAt(arrivals[index].eventTime, [inbox = shared_from_this()] { inbox->deliverNext(); });
    }
    std::move(arrivals.begin(), arrivals.end(), std::back_inserter(_ready));
    deliverNext();
}

/// Takes packets strictly in their order: turns with the same event time may come in any.
void OSCConnection::Inbox::deliverNext() {
    if (_ready.empty()) return;
    const Arrival arrival = std::move(_ready.front());
    _ready.pop_front();
    _bytesWaiting.fetch_sub(kBytesPerPacket + arrival.size, std::memory_order_relaxed);
    if (_connection->_delegate == nullptr) return;
    _connection->_delegate->oscConnection(*_connection, arrival.packet, hostOf(arrival.sender), arrival.sender.port);
}

const std::string& OSCConnection::Inbox::hostOf(const OSCSender& sender) {
    if (sender.address != _lastSender.address) {
        _lastSender = sender;
        _lastHost = sender.host();
    }
    return _lastHost;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/OSC/OSCReceiver.h"

#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/Thread.h"

#include <poll.h>

#include <array>
#include <system_error>
#include <utility>

namespace zelvane {

namespace {

constexpr std::chrono::milliseconds kRetryInterval{2};
constexpr std::chrono::seconds kDropReportInterval{1};

}  // namespace

OSCConnection::Receiver::Receiver(OSCConnection& connection, const Socket& socket, RunLoop& runLoop)
    : _connection(connection),
      _socket(socket),
      _inbox(std::make_shared<Inbox>(connection, runLoop)),
      _clock(OSCClockReading::take()),
      _thread(startThread("osc-reader", ThreadRole::reader, [this] { read(); })) {}

OSCConnection::Receiver::~Receiver() {
    _isEnding = true;
    _socket.wake();
    _thread.join();
    _inbox->close();
}

void OSCConnection::Receiver::setContinuous(bool continuous) {
    _isContinuous = continuous;
    _socket.wake();
}

void OSCConnection::Receiver::request() {
    _requests.fetch_add(1);
    _socket.wake();
}

void OSCConnection::Receiver::read() {
    while (!_isEnding) {
        if (waitForPackets()) drain();
        reportDrops(false);
    }
    reportDrops(true);
}

bool OSCConnection::Receiver::wantsPackets() const {
    return !_isEnding && (_isContinuous || _requests > 0) && !_inbox->isFull();
}

/// True when there are packets to take. A full inbox has no way to wake the reader, which looks again after a while.
bool OSCConnection::Receiver::waitForPackets() {
    const bool mustRetry = std::exchange(_hasFailed, false) || _inbox->isFull();
    const int source = !mustRetry && wantsPackets() ? _socket.descriptor() : -1;
    std::array<pollfd, 2> waiting{{{_socket.wakeDescriptor(), POLLIN, 0}, {source, POLLIN, 0}}};
    std::chrono::milliseconds limit{-1};
    if (_hasUnreportedDrops) limit = kDropReportInterval;
    if (mustRetry) limit = kRetryInterval;
    ::poll(waiting.data(), waiting.size(), static_cast<int>(limit.count()));
    if (waiting[0].revents != 0) _socket.clearWake();
    return waiting[1].revents != 0;
}

void OSCConnection::Receiver::drain() {
    while (wantsPackets() && takeBatch()) continue;
}

/// True when the batch was full, so that there may be more.
bool OSCConnection::Receiver::takeBatch() {
    const std::size_t limit = _isContinuous ? OSCDatagrams::kCapacity : 1;
    const auto taken = _datagrams.take(_socket.descriptor(), limit);
    if (taken.errorNumber != 0) reportFailure(taken.errorNumber);
    if (taken.count > 0) _clock.update(OSCClockReading::take());
    for (std::size_t index = 0; index < taken.count; ++index) take(_datagrams.at(index));
    if (!_inbox->add(_arrivals)) _isEnding = true;
    return taken.count == limit;
}

void OSCConnection::Receiver::take(const OSCDatagram& datagram) {
    auto parsed = parseOSCPacket(datagram.bytes);
    if (datagram.isCut) parsed.outcome = "larger than a datagram may be";
    if (!parsed.isPacket()) return complain(parsed.reason(), datagram.sender);
    _arrivals.push_back(
        {std::move(parsed.packet()), datagram.sender, datagram.bytes.size(), _clock.eventTime(datagram.wallTime)});
    if (!_isContinuous && _requests > 0) _requests.fetch_sub(1);
}

void OSCConnection::Receiver::complain(const std::string& reason, const OSCSender& sender) {
    _connection._unreadable.fetch_add(1, std::memory_order_relaxed);
    const std::string name = sender.host() + ":" + std::to_string(sender.port);
    if (!_complaints.isNew(reason + " " + name)) return;
    Log::write("OSCConnection: [%@] packet from %@ cannot be read: %@", {"receivePacket", name, reason});
}

void OSCConnection::Receiver::reportFailure(int errorNumber) {
    _hasFailed = true;
    const std::string reason = std::generic_category().message(errorNumber);
    if (_complaints.isNew(reason)) Log::write("OSCConnection: [%@] unable to receive, %@", {"receivePacket", reason});
}

/// The kernel's count may run over.
void OSCConnection::Receiver::countDrops(std::uint32_t dropped) {
    if (dropped == _countedDrops) return;
    _connection._lost.fetch_add(dropped - std::exchange(_countedDrops, dropped), std::memory_order_relaxed);
}

/// A loss begins only with a full buffer, which the reader empties afterwards: looking then misses none. While packets
/// go on getting lost there is one line each second.
void OSCConnection::Receiver::reportDrops(bool atOnce) {
    const std::uint32_t dropped = _socket.droppedPackets();
    countDrops(dropped);
    _hasUnreportedDrops = dropped != _reportedDrops;
    if (!_hasUnreportedDrops) return;
    const TimePoint now = Clock::monotonic().now();
    if (!atOnce && now - _lastDropReport < kDropReportInterval) return;
    const std::string remedy = _socket.hasRoomForBursts() ? "" : ": there is more room with a larger net.core.rmem_max";
    Log::write("OSCConnection: [%@] %@ packets came faster than they could be taken and are lost%@",
               {"receivePacket", std::to_string(dropped - _reportedDrops), remedy});
    _lastDropReport = now;
    _reportedDrops = dropped;
    _hasUnreportedDrops = false;
}

}  // namespace zelvane

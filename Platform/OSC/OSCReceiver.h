// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/RunLoop.h"
#include "Platform/OSC/OSCComplaints.h"
#include "Platform/OSC/OSCDatagrams.h"
#include "Platform/OSC/OSCInbox.h"
#include "Platform/OSC/OSCReceiveClock.h"
#include "Platform/OSC/OSCSocket.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace zelvane {

/// Takes packets from a socket on a thread of its own and hands them on to a run loop. The reader also parses them:
/// there the bytes need not be copied, and bad packets cost the thread that plays nothing.
class OSCConnection::Receiver {
  public:
    /// Socket and run loop must outlive the receiver. Made and destroyed on the run loop's thread.
    Receiver(OSCConnection& connection, const Socket& socket, RunLoop& runLoop);
    /// When it returns nothing is delivered any more.
    ~Receiver();
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    void setContinuous(bool continuous);
    /// Asks for one packet more when not continuous.
    void request();

  private:
    void read();
    bool waitForPackets();
    void drain();
    bool takeBatch();
    void take(const OSCDatagram& datagram);
    bool wantsPackets() const;
    void complain(const std::string& reason, const OSCSender& sender);
    void reportFailure(int errorNumber);
    void countDrops(std::uint32_t dropped);
    void reportDrops(bool atOnce);

    OSCConnection& _connection;
    const Socket& _socket;
    const std::shared_ptr<Inbox> _inbox;

    // Written by the run loop's thread and read by the reader; the reader also counts requests down and ends itself.
    std::atomic<bool> _isEnding{false};
    std::atomic<bool> _isContinuous{false};
    std::atomic<int> _requests{0};

    // The reader's own.
    OSCDatagrams _datagrams;
    std::vector<Inbox::Arrival> _arrivals;  // of the batch
    OSCReceiveClock _clock;
    OSCComplaints _complaints;
    bool _hasFailed = false;
    bool _hasUnreportedDrops = false;
    std::uint32_t _countedDrops = 0;
    std::uint32_t _reportedDrops = 0;
    TimePoint _lastDropReport;

    std::jthread _thread;  // last: it uses all the others
};

}  // namespace zelvane

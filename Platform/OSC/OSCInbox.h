// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/RunLoop.h"
#include "Platform/OSC/OSCConnection.h"
#include "Platform/OSC/OSCDatagrams.h"

#include <atomic>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace zelvane {

/// Where packets that the reader has taken wait for the run loop's thread. Outlives the connection for as long as the
/// run loop still holds work for it.
///
/// The reader leaves packets in batches and asks the run loop once to collect them; the run loop's thread itself gives
/// each packet its turn at its event time. So a burst never makes the reader, which has a small kernel buffer to keep
/// empty, queue up for the run loop's lock.
class OSCConnection::Inbox : public std::enable_shared_from_this<Inbox> {
  public:
    struct Arrival {
        OSCPacket packet;
        OSCSender sender;
        std::size_t size = 0;  ///< of the datagram
        TimePoint eventTime;
    };

    Inbox(OSCConnection& connection, RunLoop& runLoop) : _connection(&connection), _runLoop(runLoop) {}

    /// Takes the arrivals, whose event times never go back, and leaves the list empty. False when the run loop has
    /// ended: nobody will ever collect them. Reader.
    bool add(std::vector<Arrival>& arrivals);

    /// More packets would only use up memory: those in the kernel's buffer stay there. Reader.
    bool isFull() const { return _bytesWaiting.load(std::memory_order_relaxed) >= kMaxBytesWaiting; }

    /// Nothing is delivered any more. Run loop's thread.
    void close();

  private:
    // Some 75,000 notes; a parsed packet takes up to forty times its bytes.
    static constexpr std::size_t kMaxBytesWaiting = 8 * 1024 * 1024;

    void collect();
    void deliverNext();
    const std::string& hostOf(const OSCSender& sender);

    OSCConnection* _connection;  // null when closed; run loop's thread
    RunLoop& _runLoop;           // used by the reader while the receiver lives, and by work that it runs itself
    std::mutex _mutex;
    std::vector<Arrival> _arrivals;             // guarded by _mutex
    std::atomic<std::size_t> _bytesWaiting{0};  // added to and read by the reader, taken from by the run loop's thread
    std::deque<Arrival> _ready;                 // run loop's thread, as all that follow
    OSCSender _lastSender;
    std::string _lastHost = _lastSender.host();
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Error.h"
#include "Platform/OSC/OSCPacket.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace zelvane {

class OSCConnection;

/// Receives the packets of a connection, on the thread on which `receivePacket` was called, with the kernel's time of
/// receipt as the event time (`RunLoop::now()`).
class OSCConnectionDelegate {
  public:
    virtual ~OSCConnectionDelegate() = default;
    virtual void oscConnection(OSCConnection& connection, const OSCPacket& packet, const std::string& host,
                               std::uint16_t port) = 0;
};

/// One UDP endpoint for OSC: bound for receiving, or connected for sending. All operations on the thread that receives,
/// except that binding may come first from any one thread.
class OSCConnection {
  public:
    OSCConnection();
    ~OSCConnection();
    OSCConnection(const OSCConnection&) = delete;
    OSCConnection& operator=(const OSCConnection&) = delete;

    /// Not owned; must outlive the connection or be replaced by null.
    void setDelegate(OSCConnectionDelegate* delegate);

    /// With false (the start value) one `receivePacket` delivers one packet.
    void setContinuouslyReceivePackets(bool continuously);

    /// Binds the local end to a numeric address and port (0: the system chooses). Never shares a port that another
    /// socket has. False, with an error the user can read, when it can't be had.
    bool bindToAddress(const std::string& address, std::uint16_t port, Error& error);

    /// The local port once bound, else 0.
    std::uint16_t localPort() const;

    /// Starts delivery to the delegate on the current run loop. Packets that can't be parsed are logged with the reason
    /// and the sender (the same once for each sender), what the kernel had to drop is counted and logged.
    void receivePacket();

    /// What became of packets since the connection was made, over all its sockets.
    struct Counts {
        std::uint64_t unreadable = 0;  ///< that are no OSC
        std::uint64_t lost = 0;        ///< that the kernel had to drop, as far as the reader has noticed
    };
    /// Any thread.
    Counts counts() const {
        return {_unreadable.load(std::memory_order_relaxed), _lost.load(std::memory_order_relaxed)};
    }

    /// Closes the socket. When it returns there are no more deliveries.
    void disconnect();

    /// Fixes the remote end for sending. Port 0 and addresses that are no numeric IPv4 address are errors.
    bool connectToHost(const std::string& host, std::uint16_t port, Error& error);

    /// Sends one message to the connected remote end. Failures are ignored, as datagrams may be lost anyway.
    void sendPacket(const OSCMessage& message);

    /// Sends one message from the bound local end to a numeric IPv4 address. Failures are ignored likewise.
    void sendPacketTo(const OSCMessage& message, const std::string& host, std::uint16_t port);

  private:
    class Inbox;
    class Receiver;
    class Socket;
    std::atomic<std::uint64_t> _unreadable{0};  // written by the reader, read by all
    std::atomic<std::uint64_t> _lost{0};        // in the same way
    std::unique_ptr<Socket> _socket;
    std::unique_ptr<Receiver> _receiver;
    OSCConnectionDelegate* _delegate = nullptr;
    bool _continuously = false;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/WakeUp.h"
#include "Platform/Jack/JackLibrary.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

/// One connection to a JACK server; closed when the object goes away, whether the server still lives or not.
class JackClient {
  public:
    /// Null when no server answers this library. Never starts a server. The thread that waits on `whenDead`, which
    /// outlives the client, is woken when the server goes.
    static std::unique_ptr<JackClient> open(const JackLibrary& library, const char* name, WakeUp* whenDead = nullptr);
    ~JackClient();
    JackClient(const JackClient&) = delete;
    JackClient& operator=(const JackClient&) = delete;

    /// All clients of a process share what JACK's library maps of its server. One that is opened at the next server, or
    /// fails to, takes it away from under one of the former server's, which then can't even be closed: so none is
    /// opened while this is true. Any thread.
    static bool isAnyDeadLeft();

    const JackLibrary& library() const { return _library; }
    jack_client_t* handle() const { return _client; }
    /// The server has gone. Any thread, real-time safe.
    bool isDead() const { return _isDead.load(std::memory_order_acquire); }

    /// To be held by whoever has the library ask the server for something, as registering a port does, where another
    /// thread may do so: the library gives two that ask at once each other's answers. No callback of the library's.
    std::unique_lock<std::mutex> turnToAsk() const { return std::unique_lock(_asking); }

    /// Full names of the ports of a type that have all these flags (JackPortIs…), in the server's order.
    std::vector<std::string> ports(const char* type, unsigned long flags) const;
    /// The client that a port belongs to.
    std::string ownerOf(const std::string& portName) const;
    /// What users are shown in place of a port's name, where it stands among the others (from 1), and the icon of our
    /// clients. Once the client is active; not for a thread that can't be kept waiting, since JACK's own library keeps
    /// such things in a file that processes lock.
    void setPrettyName(jack_uuid_t port, const std::string& name) const;
    void setOrder(jack_uuid_t port, int place) const;
    void setIcon() const;
    /// Takes all these away again, which the server may keep for whatever has the ports' numbers next. Before the ports
    /// go.
    void removeProperties(jack_uuid_t port) const;
    void removeIcon() const;
    /// None where the library is too old to have such.
    std::optional<jack_uuid_t> uuidOf(const jack_port_t* port) const;

  private:
    JackClient(const JackLibrary& library, jack_client_t* client, WakeUp* whenDead);
    void die();
    std::optional<jack_uuid_t> ownUuid() const;
    void setProperty(jack_uuid_t subject, const char* key, const std::string& value, const char* type) const;
    bool isSuspect(TimePoint now) const;

    const JackLibrary& _library;
    jack_client_t* const _client;
    WakeUp* const _whenDead;
    mutable std::mutex _asking;
    std::atomic<TimePoint>& _lastDeath;  // of any client of the library's; written by its threads, read by any
    const TimePoint _openedAt = Clock::monotonic().now();
    std::atomic<bool> _isDead{false};  // written by a thread of the library, read by any
};

}  // namespace zelvane

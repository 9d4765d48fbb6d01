// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Jack/JackClient.h"
#include "Platform/Jack/JackLatencies.h"
#include "Platform/Jack/JackLibraries.h"
#include "Platform/Jack/JackPresence.h"
#include "Platform/MIDI/Jack/JackMIDIProcess.h"
#include "Platform/MIDI/Jack/JackMIDIQueues.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

/// Our client at one server, with its ports. Used by one thread at a time unless it says otherwise.
class JackMIDIClient {
  public:
    /// What the server told of.
    struct News {
        enum class Kind { portCame, portWent, portRenamed, connected, disconnected };
        Kind kind = Kind::portCame;
        jack_port_id_t port = 0;
        jack_port_id_t otherPort = 0;  // of a connection
    };

    /// Active when it is returned. Null when no server answers. The MIDI thread of the queues is woken for news, and
    /// the other one when the server goes.
    static std::unique_ptr<JackMIDIClient> open(JackLibraries& libraries, const JackPresence& presence,
                                                JackMIDIQueues& queues, WakeUp& whenDead);
    ~JackMIDIClient();
    JackMIDIClient(const JackMIDIClient&) = delete;
    JackMIDIClient& operator=(const JackMIDIClient&) = delete;

    const JackClient& jack() const { return *_client; }
    /// Any thread.
    bool isDead() const { return _client->isDead(); }

    /// Makes a port of that name, or of one like it when it is taken. Null when that fails.
    jack_port_t* addInput(MIDILineID line, const std::string& name);
    jack_port_t* addOutput(std::uint32_t number, const std::string& name);
    void remove(jack_port_t* port);
    bool rename(jack_port_t* port, const std::string& name) const;
    /// Two ports by their full names. True when they are connected.
    bool connect(const std::string& source, const std::string& destination) const;

    /// All since the last time, in order. Any thread.
    std::vector<News> takeNews();
    /// To be called about every second, by one thread.
    void upkeep();

  private:
    JackMIDIClient(std::unique_ptr<JackClient> client, std::shared_ptr<JackThroughput> throughput,
                   JackMIDIQueues& queues);
    bool activate();
    void setCallbacks();
    void add(const News& news);
    jack_port_t* registerPort(const std::string& name, JackPortFlags direction) const;
    std::string shortName(const std::string& name, int attempt) const;
    void publish(JackMIDIProcess::Ports ports);
    void removeProperties();
    std::vector<jack_port_t*> inputs();

    const std::unique_ptr<JackClient> _client;
    const JackLibrary& _library;
    JackMIDIQueues& _queues;
    JackMIDIProcess _process;
    JackMIDIProcess::Ports _ports;
    bool _isActive = false;

    const std::shared_ptr<JackThroughput> _throughput;
    JackLatencies _latencies;           // who calls `upkeep`; its handlers are called by a thread of the library
    bool _isIconSet = false;            // who calls `upkeep`
    std::mutex _inputsMutex;            // never held while JACK is called
    std::vector<jack_port_t*> _inputs;  // guarded by _inputsMutex

    std::mutex _newsMutex;  // never held while JACK is called, and taken by the library's thread for news only
    std::vector<News> _news;
};

}  // namespace zelvane

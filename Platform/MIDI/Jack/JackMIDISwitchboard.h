// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/MIDI/Jack/JackMIDIClient.h"
#include "Platform/MIDI/Jack/JackMIDIDirectory.h"
#include "Platform/MIDI/Jack/JackMIDIReader.h"
#include "Platform/MIDI/MIDIBackEnd.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

/// The lines, the ports of ours that they go over, and the client that has these. Any thread but JACK's; the operations
/// are those of `MIDIBackEnd`. All fail while there is no client, but virtual ports can be made and wait for one.
class JackMIDISwitchboard {
  public:
    explicit JackMIDISwitchboard(JackMIDIQueues& queues) : _queues(queues) {}

    bool hasClient();
    /// Takes a client into use, and makes the virtual ports at its server. There was none.
    void setClient(std::unique_ptr<JackMIDIClient> client);
    /// Gives the client up if its server has gone. It is to be closed.
    std::unique_ptr<JackMIDIClient> takeDeadClient();
    /// What has to be done from time to time, by the thread that gives and takes the client.
    void upkeep();

    /// For the MIDI thread; none when another thread is at work here.
    std::optional<JackMIDIChanges> collectChanges();

    std::vector<MIDIPortDescription> ports();
    bool connectSource(MIDILineID line, const std::string& address);
    bool createVirtual(MIDILineID line, MIDIDirection direction, const std::string& name);
    bool renameVirtual(MIDILineID line, const std::string& name);
    /// What came before is still in the queue.
    void close(MIDILineID line);
    bool send(const std::string& address, MIDIPacketList packets);
    bool emit(MIDILineID line, MIDIPacketList packets);

  private:
    struct Line {
        std::optional<MIDIDirection> direction;  // of a virtual port
        std::string name;
        jack_port_t* port = nullptr;
        std::uint32_t output = 0;
        bool isNameNews = true;
    };
    /// Where we send to.
    struct Destination {
        jack_port_t* port = nullptr;
        std::uint32_t output = 0;
    };

    bool isServed() const { return _client && !_client->isDead(); }
    std::string fullNameOf(const jack_port_t* port) const;
    void makePort(MIDILineID id, Line& line);
    void setPrettyNames(const JackMIDIClient& client);
    void apply(const JackMIDIClient::News& news, JackMIDIChanges& changes);
    void applyWire(const JackMIDIClient::News& news, JackMIDIChanges& changes);
    Destination* destination(const std::string& address);
    Destination* connectDestination(const std::string& address);
    void waitForWire(const jack_port_t* from, const std::string& to) const;
    void forgetGoneDestinations();
    bool push(std::uint32_t output, MIDIPacketList packets);

    JackMIDIQueues& _queues;
    std::mutex _mutex;  // guards all that follows; JACK's threads never want it
    std::unique_ptr<JackMIDIClient> _client;
    JackMIDIDirectory _directory;
    std::map<MIDILineID, Line> _lines;
    std::map<std::string, Destination> _destinations;  // by address
    std::uint32_t _lastOutput = 0;
    bool _isServerLost = false;
    bool _isSetupChanged = false;
    bool _haveDestinationsGone = false;
};

}  // namespace zelvane

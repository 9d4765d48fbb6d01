// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/WakeUp.h"
#include "Platform/Jack/JackPresence.h"
#include "Platform/MIDI/MIDIBackEnd.h"

#include <atomic>
#include <memory>
#include <thread>

namespace zelvane {

class JackLibraries;
class JackMIDIReader;
class JackMIDISwitchboard;
struct JackMIDIQueues;

/// MIDI over JACK: its own server's, or PipeWire's. Once it has been opened it outlives the server: all ports go with
/// it, and when another is there, our own ports are made again.
class JackMIDIBackEnd final : public MIDIBackEnd {
  public:
    explicit JackMIDIBackEnd(JackPresence presence = {});
    ~JackMIDIBackEnd() override;

    std::string_view name() const override { return "jack"; }
    bool open(MIDIBackEndListener& listener, Error& error) override;
    std::vector<MIDIPortDescription> ports() override;
    bool connectSource(MIDILineID line, const std::string& address) override;
    bool createVirtual(MIDILineID line, MIDIDirection direction, const std::string& name) override;
    bool renameVirtual(MIDILineID line, const std::string& name) override;
    void close(MIDILineID line) override;
    /// The first message to a destination takes a few cycles longer.
    bool send(const std::string& address, MIDIPacketList packets) override;
    bool emit(MIDILineID line, MIDIPacketList packets) override;

  private:
    bool openClient();
    void keepClient();
    void reportLosses();

    const JackPresence _presence;
    WakeUp _keeperWakeUp;                             // outlives the clients, which post it when they die
    const std::unique_ptr<JackLibraries> _libraries;  // used by the keeper, once it runs
    const std::unique_ptr<JackMIDIQueues> _queues;
    const std::unique_ptr<JackMIDISwitchboard> _switchboard;
    const std::unique_ptr<JackMIDIReader> _reader;

    std::atomic<bool> _isStopping{false};  // written by who ends this, read by the keeper
    std::jthread _keeper;                  // closes the client of a server that has gone, and looks for the next one
};

}  // namespace zelvane

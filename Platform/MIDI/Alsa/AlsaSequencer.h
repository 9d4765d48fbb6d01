// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"
#include "Platform/Foundation/Error.h"
#include "Platform/MIDI/Alsa/AlsaPort.h"

#include <alsa/asoundlib.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

/// Our client of the ALSA sequencer, with a queue whose clock stamps what comes in. Any thread, but for the library's
/// own functions that take events in or send them, which want one thread each.
class AlsaSequencer {
  public:
    /// Other programs see the name. None, with the reason, where there is no sequencer.
    static std::unique_ptr<AlsaSequencer> open(const std::string& name, Error& error);
    ~AlsaSequencer();
    AlsaSequencer(const AlsaSequencer&) = delete;
    AlsaSequencer& operator=(const AlsaSequencer&) = delete;

    snd_seq_t* handle() const { return _handle; }
    int client() const { return _client; }
    /// The queue that stamps; -1 when the system has none left.
    int queue() const { return _queue; }
    /// What the queue's clock shows.
    std::optional<Duration> queueTime() const;

    /// Makes a port with capabilities of the library's (SND_SEQ_PORT_CAP_…); its number, -1 when that fails.
    int createPort(const std::string& name, unsigned capabilities) const;
    bool renamePort(int port, const std::string& name) const;
    void deletePort(int port) const;

    /// Connects two ports, one of them ours. True too when they were connected already.
    bool connect(AlsaAddress sender, AlsaAddress destination) const;
    bool isConnected(AlsaAddress sender, AlsaAddress destination) const;

    /// All ports of others that anybody may use.
    std::vector<AlsaPort> ports() const;

  private:
    AlsaSequencer(snd_seq_t* handle, const std::string& name);
    void makeRoom() const;
    void startQueue(const std::string& name);
    int numberForOurselves() const;

    snd_seq_t* const _handle;
    const int _client;
    int _queue = -1;
    mutable std::mutex _portsMutex;  // from the choice of a number until it is taken
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/MIDI/Alsa/AlsaPort.h"

#include <alsa/asoundlib.h>

#include <cstdint>
#include <string>
#include <vector>

namespace zelvane {

/// Another program that uses the sequencer: a client with one port, by which it sends and receives.
class SequencerPeer {
  public:
    SequencerPeer(const std::string& clientName, const std::string& portName);
    ~SequencerPeer();
    SequencerPeer(const SequencerPeer&) = delete;
    SequencerPeer& operator=(const SequencerPeer&) = delete;

    AlsaAddress address() const;
    /// Finds a port as other programs show it, by the names of its client and itself; -1 when there is none.
    AlsaAddress find(const std::string& clientName, const std::string& portName) const;

    bool connectTo(AlsaAddress destination) const;
    bool listenTo(AlsaAddress source) const;
    void disconnectFrom(AlsaAddress destination) const;
    void removePort() const;

    /// Sends an event at once, to all that are connected or to one that need not be.
    void send(snd_seq_event_t event) const;
    void sendTo(AlsaAddress destination, snd_seq_event_t event) const;
    void sendSystemExclusive(std::vector<std::uint8_t> piece) const;

    static snd_seq_event_t noteOn(int key, int velocity = 100, int channel = 0);
    static snd_seq_event_t noteOff(int key, int channel = 0);

    /// What came in until now, as bytes one after the other.
    std::vector<std::uint8_t> received() const;

  private:
    snd_seq_t* _handle = nullptr;
    snd_midi_event_t* _decoder = nullptr;
    int _port = -1;
};

}  // namespace zelvane

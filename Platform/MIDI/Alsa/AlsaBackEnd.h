// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/MIDI/MIDIBackEnd.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace zelvane {

class AlsaGenerations;
class AlsaOutput;
class AlsaReader;
class AlsaSequencer;

/// MIDI through the kernel's sequencer: devices, and programs that use it. Other programs see us by the
/// client's name.
class AlsaBackEnd final : public MIDIBackEnd {
  public:
    explicit AlsaBackEnd(std::string clientName = "Zelvane");
    ~AlsaBackEnd() override;
    AlsaBackEnd(const AlsaBackEnd&) = delete;
    AlsaBackEnd& operator=(const AlsaBackEnd&) = delete;

    std::string_view name() const override { return "alsa"; }
    bool open(MIDIBackEndListener& listener, Error& error) override;
    std::vector<MIDIPortDescription> ports() override;
    bool connectSource(MIDILineID line, const std::string& address) override;
    bool createVirtual(MIDILineID line, MIDIDirection direction, const std::string& name) override;
    bool renameVirtual(MIDILineID line, const std::string& name) override;
    void close(MIDILineID line) override;
    bool send(const std::string& address, MIDIPacketList packets) override;
    bool emit(MIDILineID line, MIDIPacketList packets) override;

  private:
    void addPorts(MIDIDirection direction, std::vector<MIDIPortDescription>& descriptions) const;

    const std::string _clientName;
    std::unique_ptr<AlsaSequencer> _sequencer;
    std::unique_ptr<AlsaGenerations> _generations;
    std::unique_ptr<AlsaOutput> _output;
    std::unique_ptr<AlsaReader> _reader;  // after all that it uses
    std::map<MIDILineID, int> _inputs;    // our ports for what comes in
};

}  // namespace zelvane

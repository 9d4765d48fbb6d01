// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/MIDI/MIDIBackEnd.h"
#include "Platform/MIDI/SoundingNotes.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace zelvane {

/// MIDI without a system: ports are there when they are plugged in here, and play what they are told to. What it
/// delivers, it delivers on the thread that makes it play.
class MemoryMIDIBackEnd final : public MIDIBackEnd {
  public:
    /// What was sent to an outside destination, or emitted on a source of ours.
    struct Sent {
        std::string address;
        std::vector<std::uint8_t> bytes;
    };
    struct Virtual {
        MIDIDirection direction = MIDIDirection::source;
        std::string name;
    };

    /// Whether `open` will succeed.
    bool isAvailable = true;

    /// Adds a port under an address of its own, which is returned.
    std::string plugIn(MIDIDirection direction, const std::string& deviceName, const std::string& name,
                       const std::string& driver = {});
    void unplug(const std::string& address);
    /// An outside source sends a message; false when nobody is connected.
    bool play(const std::string& address, const std::vector<std::uint8_t>& bytes, TimePoint time);
    /// Another program sends to our destination of that name, all packets in one list.
    bool playTo(const std::string& virtualName, const std::vector<std::vector<std::uint8_t>>& packets, TimePoint time);
    std::vector<Sent> sent() const;
    std::vector<Virtual> virtuals() const;
    std::size_t openLines() const;

    std::string_view name() const override { return "memory"; }
    bool open(MIDIBackEndListener& listener, Error& error) override;
    std::vector<MIDIPortDescription> ports() override;
    bool connectSource(MIDILineID line, const std::string& address) override;
    bool createVirtual(MIDILineID line, MIDIDirection direction, const std::string& name) override;
    bool renameVirtual(MIDILineID line, const std::string& name) override;
    void close(MIDILineID line) override;
    bool send(const std::string& address, MIDIPacketList packets) override;
    bool emit(MIDILineID line, MIDIPacketList packets) override;

  private:
    struct Line {
        std::string address;  // of the source; none for a virtual port
        SoundingNotes notes = {};
    };

    bool has(const std::string& address) const;
    void endNotes(MIDILineID id, Line& line);
    void keep(const std::string& address, MIDIPacketList packets);

    MIDIBackEndListener* _listener = nullptr;
    mutable std::recursive_mutex _mutex;  // held while something is delivered, so that closing a line waits for it
    std::vector<MIDIPortDescription> _ports;
    std::map<MIDILineID, Line> _lines;
    std::map<MIDILineID, Virtual> _virtuals;
    std::vector<Sent> _sent;
    int _appearances = 0;
};

}  // namespace zelvane

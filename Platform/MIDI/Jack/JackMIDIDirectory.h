// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Jack/JackClient.h"
#include "Platform/MIDI/MIDIBackEnd.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

/// The ports of others at the present server. Used by one thread at a time.
class JackMIDIDirectory {
  public:
    struct Port {
        MIDIPortDescription description;
        std::string fullName;
    };

    /// Begins anew at a server; the client is active.
    void begin(const JackClient& client);
    /// The server told that the port came.
    void portCame(const JackClient& client, const jack_port_t* port);

    std::vector<Port> list(const JackClient& client) const;
    /// The port's full name, if it is there.
    std::optional<std::string> find(const JackClient& client, MIDIDirection direction,
                                    const std::string& address) const;

  private:
    static std::string identity(const JackClient& client, const jack_port_t* port);
    std::string addressOf(const JackClient& client, const jack_port_t* port) const;
    std::vector<Port> list(const JackClient& client, MIDIDirection direction) const;

    std::uint64_t _server = 0;
    std::map<std::string, std::uint64_t> _appearances;  // of what is told apart by nothing else
};

}  // namespace zelvane

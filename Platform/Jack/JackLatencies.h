// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Jack/JackClient.h"
#include "Platform/Jack/JackThroughput.h"

#include <functional>
#include <optional>
#include <span>

namespace zelvane {

/// A client's share in working out latencies: it is asked by its server, in a thread of the library, whenever wires or
/// the period change. It never has the server begin anew, which would bother all clients there are. Where the library
/// is too old to have such, or is PipeWire's, nobody is asked.
class JackLatencies {
  public:
    struct Handlers {
        std::function<void()> capture;   ///< how old is what leaves by our ports
        std::function<void()> playback;  ///< how long until what comes to our ports is heard
    };

    explicit JackLatencies(const JackClient& client) : _client(client) {}

    /// Before the client is active.
    void setHandlers(Handlers handlers);

    /// All that these ports are told of. Null ports are passed over.
    JackThroughput::Range range(std::span<jack_port_t* const> ports, jack_latency_callback_mode_t mode) const;
    void setRange(std::span<jack_port_t* const> ports, jack_latency_callback_mode_t mode,
                  JackThroughput::Range range) const;

  private:
    bool isUsable() const;

    const JackClient& _client;
    Handlers _handlers;
};

}  // namespace zelvane

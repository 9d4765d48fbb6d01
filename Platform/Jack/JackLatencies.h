// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Jack/JackClient.h"
#include "Platform/Jack/JackThroughput.h"

#include <functional>
#include <optional>
#include <span>

namespace zelvane {

/// A client's share in working out latencies: it is asked by its server, in a thread of the library, and may ask the
/// server to begin anew. Where the library is too old to have such, or is PipeWire's, nobody is asked.
class JackLatencies {
  public:
    struct Handlers {
        std::function<void()> capture;   ///< how old is what leaves by our ports
        std::function<void()> playback;  ///< how long until what comes to our ports is heard
    };

    JackLatencies(const JackClient& client, const JackThroughput& throughput)
        : _client(client), _throughput(throughput) {}

    /// Before the client is active.
    void setHandlers(Handlers handlers);

    /// Has all latencies of the server worked out anew if those that a client's other half knows have changed, or the
    /// server's period has. One thread at a time, no callback of the library's.
    void update();

    /// All that these ports are told of. Null ports are passed over.
    JackThroughput::Range range(std::span<jack_port_t* const> ports, jack_latency_callback_mode_t mode) const;
    void setRange(std::span<jack_port_t* const> ports, jack_latency_callback_mode_t mode,
                  JackThroughput::Range range) const;

  private:
    bool isUsable() const;

    const JackClient& _client;
    const JackThroughput& _throughput;
    Handlers _handlers;
    std::uint64_t _seenChanges = 0;
    std::uint32_t _seenPeriod = 0;
};

}  // namespace zelvane

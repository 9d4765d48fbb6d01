// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Jack/JackLatencies.h"

#include "Platform/Jack/Uncancelled.h"

#include <algorithm>
#include <utility>

namespace zelvane {

/// PipeWire's library sends what its latency callback says without a lock, into the midst of what other threads of ours
/// are sending, and ends the program when it finds the mess.
bool JackLatencies::isUsable() const {
    const JackLibrary& library = _client.library();
    return library.setLatencyCallback != nullptr && !library.isPipeWires;
}

void JackLatencies::setHandlers(Handlers handlers) {
    _handlers = std::move(handlers);
    if (!isUsable()) return;
    _client.library().setLatencyCallback(
        _client.handle(),
        [](jack_latency_callback_mode_t mode, void* argument) {
            const Handlers& own = static_cast<JackLatencies*>(argument)->_handlers;
            uncancelled([&] { mode == JackCaptureLatency ? own.capture() : own.playback(); });
        },
        this);
}

JackThroughput::Range JackLatencies::range(std::span<jack_port_t* const> ports,
                                           jack_latency_callback_mode_t mode) const {
    std::optional<JackThroughput::Range> all;
    for (jack_port_t* port : ports) {
        if (port == nullptr || _client.library().portLatencyRange == nullptr) continue;
        jack_latency_range_t one{};
        _client.library().portLatencyRange(port, mode, &one);
        all = all ? JackThroughput::Range{std::min(all->least, one.min), std::max(all->most, one.max)}
                  : JackThroughput::Range{one.min, one.max};
    }
    return all.value_or(JackThroughput::Range{});
}

void JackLatencies::setRange(std::span<jack_port_t* const> ports, jack_latency_callback_mode_t mode,
                             JackThroughput::Range range) const {
    jack_latency_range_t told{range.least, range.most};
    for (jack_port_t* port : ports) {
        if (port != nullptr) _client.library().setPortLatencyRange(port, mode, &told);
    }
}

}  // namespace zelvane

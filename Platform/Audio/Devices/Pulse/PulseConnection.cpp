// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Pulse/PulseConnection.h"

namespace zelvane {

namespace {

constexpr const char* kApplicationName = "Zelvane";

struct SinkQuery {
    PulseConnection& connection;
    std::string defaultName;
    std::vector<PulseSink> sinks;
};

void takeServerInfo(pa_context*, const pa_server_info* info, void* argument) {
    auto& query = *static_cast<SinkQuery*>(argument);
    if (info != nullptr && info->default_sink_name != nullptr) query.defaultName = info->default_sink_name;
    query.connection.signal();
}

std::uint32_t significantBits(pa_sample_format_t format) {
    constexpr std::uint32_t kBitsPerByte = 8;
    const bool isPadded = format == PA_SAMPLE_S24_32LE || format == PA_SAMPLE_S24_32BE;
    return isPadded ? 24 : static_cast<std::uint32_t>(pa_sample_size_of_format(format)) * kBitsPerByte;
}

void takeSinkInfo(pa_context*, const pa_sink_info* info, int isEnd, void* argument) {
    auto& query = *static_cast<SinkQuery*>(argument);
    if (isEnd != 0 || info == nullptr) {
        query.connection.signal();
        return;
    }
    query.sinks.push_back({.name = info->name,
                           .description = info->description != nullptr ? info->description : info->name,
                           .index = info->index,
                           .sampleRate = info->sample_spec.rate,
                           .channels = info->sample_spec.channels,
                           .bitsPerChannel = significantBits(info->sample_spec.format)});
}

}  // namespace

std::unique_ptr<PulseConnection> PulseConnection::open(Duration limit) {
    std::unique_ptr<PulseConnection> connection(new PulseConnection);
    return connection->connect(limit) ? std::move(connection) : nullptr;
}

PulseConnection::PulseConnection() : _loop(pa_threaded_mainloop_new()) {
    pa_threaded_mainloop_set_name(_loop, "PulseAudio");
}

PulseConnection::~PulseConnection() {
    if (_context != nullptr) {
        const Lock lock(*this);
        disconnect();
        pa_context_unref(_context);
    }
    pa_threaded_mainloop_stop(_loop);
    pa_threaded_mainloop_free(_loop);
}

bool PulseConnection::connect(Duration limit) {
    _context = pa_context_new(pa_threaded_mainloop_get_api(_loop), kApplicationName);
    if (_context == nullptr || pa_threaded_mainloop_start(_loop) < 0) return false;
    const Lock lock(*this);
    pa_context_set_state_callback(
        _context, [](pa_context*, void* self) { static_cast<PulseConnection*>(self)->signal(); }, this);
    if (pa_context_connect(_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) return false;
    return waitUntil([this] { return pa_context_get_state(_context) == PA_CONTEXT_READY; }, limit);
}

void PulseConnection::disconnect() {
    pa_context_set_state_callback(_context, nullptr, nullptr);
    pa_context_disconnect(_context);
}

bool PulseConnection::waitUntil(const std::function<bool()>& condition, Duration limit) {
    const TimePoint end = Clock::monotonic().now() + limit;
    const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(limit).count();
    pa_time_event* alarm = pa_context_rttime_new(
        _context, pa_rtclock_now() + static_cast<pa_usec_t>(microseconds),
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
            static_cast<PulseConnection*>(self)->signal();
        },
        this);
    while (!condition() && isAlive() && Clock::monotonic().now() < end) pa_threaded_mainloop_wait(_loop);
    pa_threaded_mainloop_get_api(_loop)->time_free(alarm);
    return condition();
}

std::vector<PulseSink> PulseConnection::sinks(Duration limit) {
    SinkQuery query{*this, {}, {}};
    if (!finish(pa_context_get_server_info(_context, takeServerInfo, &query), limit)) return {};
    if (!finish(pa_context_get_sink_info_list(_context, takeSinkInfo, &query), limit)) return {};
    for (PulseSink& sink : query.sinks) sink.isDefault = sink.name == query.defaultName;
    return query.sinks;
}

bool PulseConnection::finish(pa_operation* operation, Duration limit) {
    if (operation == nullptr) return false;
    const bool isDone = waitUntil([&] { return pa_operation_get_state(operation) != PA_OPERATION_RUNNING; }, limit) &&
                        pa_operation_get_state(operation) == PA_OPERATION_DONE;
    // An answer that comes later must not find what it was for gone.
    if (!isDone) pa_operation_cancel(operation);
    pa_operation_unref(operation);
    return isDone;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Pulse/PulseStream.h"

#include "Platform/Audio/FlushToZero.h"
#include "Platform/Foundation/Thread.h"

#include <algorithm>

namespace zelvane {

namespace {

constexpr std::uint32_t kChannels = 2;
constexpr std::uint32_t kFrameSize = kChannels * sizeof(float);
constexpr std::uint32_t kLargestSlice = 4096;
constexpr Duration kReadyLimit = std::chrono::milliseconds(1500);
/// A request beyond this many seconds comes after this program was held; what is long past is left out.
constexpr double kLongestCatchUp = 0.5;

PulseStream& self(void* argument) {
    return *static_cast<PulseStream*>(argument);
}

}  // namespace

PulseStream::PulseStream(std::unique_ptr<PulseConnection> connection, const PulseSink& sink, bool followsDefault,
                         std::uint32_t periodFrames)
    : _connection(std::move(connection)),
      _sink(sink),
      _followsDefault(followsDefault),
      _format{.sampleRate = double(sink.sampleRate),
              .channels = kChannels,
              .periodFrames = periodFrames,
              .bitsPerChannel = sink.bitsPerChannel},
      _clock(_format.sampleRate, periodFrames),
      _samples(std::size_t{kChannels} * kLargestSlice),
      _outputs{_samples.data(), _samples.data() + kLargestSlice} {}

PulseStream::~PulseStream() {
    if (_stream == nullptr) return;
    const PulseConnection::Lock lock(*_connection);
    pa_context_set_subscribe_callback(_connection->context(), nullptr, nullptr);
    pa_stream_set_write_callback(_stream, nullptr, nullptr);
    pa_stream_set_state_callback(_stream, nullptr, nullptr);
    pa_stream_set_underflow_callback(_stream, nullptr, nullptr);
    pa_stream_set_moved_callback(_stream, nullptr, nullptr);
    pa_stream_set_suspended_callback(_stream, nullptr, nullptr);
    pa_stream_disconnect(_stream);
    pa_stream_unref(_stream);
    _connection->disconnect();  // an answer about a sink may still be on its way to us
}

bool PulseStream::start(AudioRenderer& renderer) {
    const PulseConnection::Lock lock(*_connection);
    _renderer = &renderer;
    _watchdog.start(Clock::monotonic().now());
    _connection->runOnce([](pa_mainloop_api*, void*) { adoptRole(ThreadRole::audio); }, nullptr);
    if (!connect() || !waitUntilReady()) return false;
    watchSinks();
    return true;
}

AudioStreamState PulseStream::state() const {
    if (_isLost.load(std::memory_order_relaxed)) return AudioStreamState::lost;
    if (_watchdog.isOverdue(Clock::monotonic().now())) return AudioStreamState::lost;
    return _hasOtherRate.load(std::memory_order_relaxed) ? AudioStreamState::formatChanged : AudioStreamState::alive;
}

bool PulseStream::connect() {
    const pa_sample_spec wanted{
        .format = PA_SAMPLE_FLOAT32NE, .rate = _sink.sampleRate, .channels = static_cast<std::uint8_t>(kChannels)};
    pa_channel_map map;
    pa_channel_map_init_stereo(&map);
    _stream = pa_stream_new(_connection->context(), "Zelvane", &wanted, &map);
    if (_stream == nullptr) return false;
    setCallbacks();
    constexpr auto kServersChoice = static_cast<std::uint32_t>(-1);
    const std::uint32_t request = _format.periodFrames * kFrameSize;
    const pa_buffer_attr buffer{.maxlength = kServersChoice,
                                .tlength = 2 * request,
                                .prebuf = 0,
                                .minreq = request,
                                .fragsize = kServersChoice};
    constexpr unsigned kAlways = PA_STREAM_ADJUST_LATENCY | PA_STREAM_AUTO_TIMING_UPDATE | PA_STREAM_INTERPOLATE_TIMING;
    const auto flags = static_cast<pa_stream_flags_t>(kAlways | (_followsDefault ? 0U : unsigned{PA_STREAM_DONT_MOVE}));
    const char* device = _followsDefault ? nullptr : _sink.name.c_str();
    return pa_stream_connect_playback(_stream, device, &buffer, flags, nullptr, nullptr) == 0;
}

void PulseStream::setCallbacks() {
    pa_stream_set_state_callback(
        _stream, [](pa_stream*, void* argument) { self(argument).stateChanged(); }, this);
    pa_stream_set_write_callback(
        _stream, [](pa_stream*, std::size_t bytes, void* argument) { self(argument).write(bytes); }, this);
    pa_stream_set_underflow_callback(
        _stream, [](pa_stream*, void* argument) { self(argument)._xruns.fetch_add(1, std::memory_order_relaxed); },
        this);
    pa_stream_set_moved_callback(
        _stream, [](pa_stream*, void* argument) { self(argument).moved(); }, this);
    // A suspended sink (given to a JACK server, say) takes no sound, maybe for hours.
    pa_stream_set_suspended_callback(
        _stream,
        [](pa_stream* stream, void* argument) {
            if (pa_stream_is_suspended(stream) > 0) self(argument)._isLost.store(true, std::memory_order_relaxed);
        },
        this);
}

bool PulseStream::waitUntilReady() {
    const auto isSettled = [this] {
        const pa_stream_state_t state = pa_stream_get_state(_stream);
        return state == PA_STREAM_READY || !PA_STREAM_IS_GOOD(state);
    };
    _connection->waitUntil(isSettled, kReadyLimit);
    return pa_stream_get_state(_stream) == PA_STREAM_READY && pa_stream_is_suspended(_stream) <= 0;
}

void PulseStream::watchSinks() {
    pa_context* context = _connection->context();
    pa_context_set_subscribe_callback(
        context,
        [](pa_context*, pa_subscription_event_type_t event, std::uint32_t index, void* argument) {
            const bool isChange = (event & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_CHANGE;
            if (isChange && index == pa_stream_get_device_index(self(argument)._stream))
                self(argument).askForSinkRate();
        },
        this);
    pa_operation* operation = pa_context_subscribe(context, PA_SUBSCRIPTION_MASK_SINK, nullptr, nullptr);
    if (operation != nullptr) pa_operation_unref(operation);
}

void PulseStream::stateChanged() {
    if (!PA_STREAM_IS_GOOD(pa_stream_get_state(_stream))) _isLost.store(true, std::memory_order_relaxed);
    _connection->signal();
}

void PulseStream::moved() {
    _clock.forget();
    askForSinkRate();
}

void PulseStream::askForSinkRate() {
    const auto compare = [](pa_context*, const pa_sink_info* info, int, void* argument) {
        if (info != nullptr && info->sample_spec.rate != self(argument)._sink.sampleRate) {
            self(argument)._hasOtherRate.store(true, std::memory_order_relaxed);
        }
    };
    pa_operation* operation =
        pa_context_get_sink_info_by_index(_connection->context(), pa_stream_get_device_index(_stream), compare, this);
    if (operation != nullptr) pa_operation_unref(operation);
}

void PulseStream::write(std::size_t bytes) noexcept {
    const ScopedFlushToZero flushToZero;
    const TimePoint now = Clock::monotonic().now();
    _watchdog.cycleCame(now);
    const std::uint64_t wanted = bytes / kFrameSize;
    const std::uint64_t leftOut = leaveOut(wanted);
    pa_usec_t played = 0;
    const bool isKnown = pa_stream_get_time(_stream, &played) == 0;
    const std::uint64_t frames = wanted - leftOut;
    const PulseCycleClock::Answer answer = _clock.date(
        {.now = now,
         .framesBefore = _written,
         .frames = static_cast<std::uint32_t>(frames),
         .playedTime = isKnown ? std::optional<Duration>(std::chrono::microseconds(played)) : std::nullopt});
    renderSlices(frames, answer, answer.hasJumped || leftOut > 0);
}

/// Fills what would be heard far too late with silence. Returns the frames that were.
std::uint64_t PulseStream::leaveOut(std::uint64_t frames) noexcept {
    if (double(frames) <= kLongestCatchUp * _format.sampleRate) return 0;
    const std::uint64_t excess = frames - std::min<std::uint64_t>(frames, 2 * std::uint64_t{_format.periodFrames});
    std::ranges::fill(_samples, 0.0F);
    for (std::uint64_t left = excess; left > 0;) {
        const std::uint64_t slice = std::min<std::uint64_t>(left, kLargestSlice);
        pa_stream_write(_stream, _samples.data(), slice * kFrameSize, nullptr, 0, PA_SEEK_RELATIVE);
        left -= slice;
    }
    _written += excess;
    _xruns.fetch_add(1, std::memory_order_relaxed);
    return excess;
}

void PulseStream::renderSlices(std::uint64_t frames, const PulseCycleClock::Answer& answer,
                               bool isDiscontinuous) noexcept {
    for (std::uint64_t done = 0; done < frames;) {
        const Duration offset(static_cast<std::int64_t>(double(done) * 1e9 / _format.sampleRate));
        const std::uint32_t rendered = renderSlice(frames - done, answer.start + offset, isDiscontinuous && done == 0);
        if (rendered == 0) return;
        done += rendered;
    }
}

/// Renders at most one slice straight into the server's memory. Returns its frames, 0 when the server takes none.
std::uint32_t PulseStream::renderSlice(std::uint64_t frames, TimePoint start, bool isDiscontinuous) noexcept {
    std::size_t bytes = std::min<std::uint64_t>(frames, kLargestSlice) * kFrameSize;
    const std::size_t wished = bytes;
    void* memory = nullptr;
    if (pa_stream_begin_write(_stream, &memory, &bytes) < 0 || memory == nullptr) return 0;
    const auto slice = static_cast<std::uint32_t>(std::min(bytes, wished) / kFrameSize);
    if (slice == 0) {
        pa_stream_cancel_write(_stream);
        return 0;
    }
    _renderer->render({.start = start,
                       .isDiscontinuous = isDiscontinuous,
                       .frames = slice,
                       .periodFrames = _format.periodFrames,
                       .outputs = _outputs});
    auto* interleaved = static_cast<float*>(memory);
    for (std::uint32_t i = 0; i < slice; ++i) {
        interleaved[2 * i] = _outputs[0][i];
        interleaved[2 * i + 1] = _outputs[1][i];
    }
    if (pa_stream_write(_stream, memory, std::size_t{slice} * kFrameSize, nullptr, 0, PA_SEEK_RELATIVE) < 0) return 0;
    _written += slice;
    return slice;
}

}  // namespace zelvane

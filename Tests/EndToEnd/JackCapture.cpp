// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/EndToEnd/JackCapture.h"

#include <algorithm>
#include <cmath>

namespace zelvane {

JackCapture::JackCapture(double seconds) : _client(jack_client_open("ear", JackNoStartServer, nullptr)) {
    if (_client == nullptr) return;
    _samples.resize(static_cast<std::size_t>(seconds * sampleRate()));
    _gaps.resize(100000);
    _cycles.resize(_samples.size() / jack_get_buffer_size(_client) + 1);
    _port = jack_port_register(_client, "in", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
    jack_set_process_callback(_client, process, this);
    jack_activate(_client);
}

JackCapture::~JackCapture() {
    if (_client != nullptr) jack_client_close(_client);
}

bool JackCapture::connect() {
    if (_client == nullptr) return false;
    const char** ports = jack_get_ports(_client, "^Zelvane:", JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput);
    const bool isConnected = ports != nullptr && jack_connect(_client, ports[0], jack_port_name(_port)) == 0;
    if (ports != nullptr) jack_free(ports);
    return isConnected;
}

bool JackCapture::hasSoundAfter(std::size_t first) const {
    const auto samples = captured();
    const auto begin = samples.begin() + static_cast<std::ptrdiff_t>(std::min(first, samples.size()));
    return std::any_of(begin, samples.end(), [](float sample) { return std::abs(sample) > 1e-4F; });
}

std::span<const float> JackCapture::longestWhole(std::size_t first, std::size_t last) const {
    std::span<const float> longest;
    const auto endAt = [&](std::size_t end) {
        if (end - first > longest.size()) longest = captured().subspan(first, end - first);
        first = end;
    };
    for (const std::size_t gap : gaps()) {
        if (gap > first && gap < last) endAt(gap);
    }
    endAt(last);
    return longest;
}

std::size_t JackCapture::gapCount(std::size_t first, std::size_t last) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(gaps(), [&](std::size_t gap) { return gap > first && gap < last; }));
}

/// JACK's thread.
void JackCapture::noteGap(std::size_t position) {
    const std::size_t count = _gapCount.load(std::memory_order_relaxed);
    if (count == _gaps.size()) return;
    _gaps[count] = position;
    _gapCount.store(count + 1, std::memory_order_release);
}

/// JACK's thread.
void JackCapture::noteCycle(const Cycle& cycle) {
    const std::size_t count = _cycleCount.load(std::memory_order_relaxed);
    if (count == _cycles.size()) return;
    if (count > 0 && !_cycles[count - 1].isFollowedBy(cycle)) noteGap(cycle.position);
    _cycles[count] = cycle;
    _cycleCount.store(count + 1, std::memory_order_release);
}

// A server that was held up may go on with the very next frame and leave out only the time.
bool JackCapture::Cycle::isFollowedBy(const Cycle& next) const {
    const auto late = static_cast<std::int64_t>(next.start) - static_cast<std::int64_t>(end);
    return next.frame == frame + frames && std::abs(late) < static_cast<std::int64_t>(end - start) / 2;
}

// Of several tries the one that was not held up.
JackCapture::ClockPair JackCapture::ClockPair::read() {
    ClockPair best;
    Duration narrowest = Duration::max();
    for (int i = 0; i < 16; ++i) {
        const TimePoint before = Clock::monotonic().now();
        const jack_time_t jack = jack_get_time();
        const Duration taken = Clock::monotonic().now() - before;
        if (taken < narrowest) best = {before + taken / 2, jack};
        narrowest = std::min(narrowest, taken);
    }
    return best;
}

// JACK may go by another clock of the kernel's, which drifts.
double JackCapture::momentOf(TimePoint time) const {
    const ClockPair now = ClockPair::read();
    const std::chrono::duration<double> passed = now.monotonic - _opened.monotonic;
    const std::chrono::duration<double> due = time - _opened.monotonic;
    return static_cast<double>(_opened.jack) + due / passed * static_cast<double>(now.jack - _opened.jack);
}

double JackCapture::placeOf(TimePoint time) const {
    return placeOfMoment(momentOf(time));
}

jack_latency_range_t JackCapture::toldAge() const {
    jack_latency_range_t age{};
    jack_port_get_latency_range(_port, JackCaptureLatency, &age);
    return age;
}

double JackCapture::placeOfMoment(double moment) const {
    const auto all = cycles();
    const auto later = std::find_if(all.begin(), all.end(),
                                    [&](const Cycle& cycle) { return static_cast<double>(cycle.start) > moment; });
    const Cycle& cycle = later == all.begin() ? *later : *std::prev(later);
    const double share = (moment - static_cast<double>(cycle.start)) / static_cast<double>(cycle.end - cycle.start);
    return static_cast<double>(cycle.position) + share * cycle.frames;
}

int JackCapture::process(jack_nframes_t frames, void* self) {
    auto& capture = *static_cast<JackCapture*>(self);
    const std::size_t count = capture._count.load(std::memory_order_relaxed);
    Cycle cycle{.position = count, .frames = frames};
    float period = 0;
    jack_get_cycle_times(capture._client, &cycle.frame, &cycle.start, &cycle.end, &period);
    capture.noteCycle(cycle);
    const std::size_t taken = std::min<std::size_t>(frames, capture._samples.size() - count);
    std::copy_n(static_cast<const float*>(jack_port_get_buffer(capture._port, frames)), taken,
                capture._samples.begin() + static_cast<std::ptrdiff_t>(count));
    capture._count.store(count + taken, std::memory_order_release);
    return 0;
}

}  // namespace zelvane

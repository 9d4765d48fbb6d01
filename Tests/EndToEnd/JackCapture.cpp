// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/EndToEnd/JackCapture.h"

#include <algorithm>
#include <cmath>

namespace zelvane {

JackCapture::JackCapture(double seconds) : _client(jack_client_open("ear", JackNoStartServer, nullptr)) {
    if (_client == nullptr) return;
    _samples.resize(static_cast<std::size_t>(seconds * sampleRate()));
    _gaps.resize(100000);
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

/// JACK's thread.
void JackCapture::noteGap(std::size_t position) {
    const std::size_t count = _gapCount.load(std::memory_order_relaxed);
    if (count == _gaps.size()) return;
    _gaps[count] = position;
    _gapCount.store(count + 1, std::memory_order_release);
}

int JackCapture::process(jack_nframes_t frames, void* self) {
    auto& capture = *static_cast<JackCapture*>(self);
    const jack_nframes_t frame = jack_last_frame_time(capture._client);
    const std::size_t count = capture._count.load(std::memory_order_relaxed);
    if (frame != capture._nextFrame && count > 0) capture.noteGap(count);
    capture._nextFrame = frame + frames;
    const std::size_t taken = std::min<std::size_t>(frames, capture._samples.size() - count);
    std::copy_n(static_cast<const float*>(jack_port_get_buffer(capture._port, frames)), taken,
                capture._samples.begin() + static_cast<std::ptrdiff_t>(count));
    capture._count.store(count + taken, std::memory_order_release);
    return 0;
}

}  // namespace zelvane

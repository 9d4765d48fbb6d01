// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Jack/JackMIDIProcess.h"

#include "Platform/Audio/RealtimeScope.h"
#include "Platform/Jack/Uncancelled.h"
#include "Platform/MIDI/MessageAssembler.h"

#include <algorithm>
#include <thread>

namespace zelvane {

namespace {

/// Clock, start, stop and active sensing, which nobody here listens to and which come all the time.
bool isIgnored(const jack_midi_event_t& event) {
    return event.size == 0 || (event.size == 1 && event.buffer[0] >= 0xF8 && event.buffer[0] <= 0xFE);
}

}  // namespace

JackMIDIProcess::JackMIDIProcess(const JackClient& client, JackMIDIQueues& queues)
    : _client(client),
      _library(client.library()),
      _nanosecondsPerFrame(1e9 / double(_library.sampleRate(client.handle()))),
      _queues(queues),
      _owned(std::make_unique<Ports>()),
      _ports(_owned.get()) {
    measureClock();
    _library.setProcessCallback(client.handle(), processUncancelled<&JackMIDIProcess::process, JackMIDIProcess>, this);
}

// Each side says where it is before it looks where the other is. With all of it in one total order, a callback that
// still got the former ports has been counted as entered.
void JackMIDIProcess::setPorts(std::unique_ptr<Ports> ports) {
    _ports.store(ports.get(), std::memory_order_seq_cst);
    const std::uint64_t entered = _entered.load(std::memory_order_seq_cst);
    while (_left.load(std::memory_order_acquire) < entered) {
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    _owned = std::move(ports);
}

int JackMIDIProcess::process(jack_nframes_t frames) noexcept {
    const RealtimeScope realtime;
    _entered.fetch_add(1, std::memory_order_seq_cst);
    Ports& ports = *_ports.load(std::memory_order_seq_cst);
    const Cycle now = cycle(frames);
    bool hasNews = false;
    for (Input& input : ports.inputs) hasNews = takeIn(input, now) || hasNews;
    giveOut(ports, frames);
    _left.fetch_add(1, std::memory_order_release);
    _queues.cycles.fetch_add(1, std::memory_order_release);
    if (hasNews) {
        const RealtimeExemption exemption("posting never waits, and is how JACK itself wakes the next client");
        _queues.midiThread.post();
    }
    return 0;
}

JackMIDIProcess::Cycle JackMIDIProcess::cycle(jack_nframes_t frames) noexcept {
    jack_nframes_t frame = 0;
    jack_time_t start = 0;
    jack_time_t next = 0;
    float period = 0;
    const bool isTold = _library.cycleTimes(_client.handle(), &frame, &start, &next, &period) == 0;
    const bool isRepeated = isTold && _lastFrame == frame;
    _lastFrame.reset();
    if (isTold) _lastFrame = frame;
    return {frames, _clock.timePoint(isTold ? start : _library.time()), isRepeated};
}

/// A server that is held up may run a cycle again, in which the sender has written nothing new, or has finished what it
/// was at the first time: what was taken then is passed over.
bool JackMIDIProcess::takeIn(Input& input, const Cycle& cycle) noexcept {
    void* buffer = _library.portBuffer(input.port, cycle.frames);
    if (buffer == nullptr) return false;
    bool hasNews = false;
    const std::uint32_t count = _library.midiEventCount(buffer);
    const bool isKnown =
        cycle.isRepeated && count >= input.count && fingerprint(buffer, input.count) == input.fingerprint;
    for (std::uint32_t i = isKnown ? input.count : 0; i < count; ++i) {
        jack_midi_event_t event{};
        if (_library.midiEvent(&event, buffer, i) != 0 || isIgnored(event)) continue;
        hasNews = takeIn(event, input.line, cycle.start) || hasNews;
    }
    input.count = count;
    input.fingerprint = fingerprint(buffer, count);
    const std::uint32_t lost = _library.midiLostEventCount(buffer);
    if (lost > 0) _queues.lostInPorts.fetch_add(lost, std::memory_order_relaxed);
    return hasNews;
}

/// Of the first events of a port: FNV-1a.
std::uint64_t JackMIDIProcess::fingerprint(void* buffer, std::uint32_t count) const noexcept {
    std::uint64_t value = 0xCBF29CE484222325U;
    const auto add = [&value](std::uint32_t number) { value = (value ^ number) * 0x100000001B3U; };
    for (std::uint32_t i = 0; i < count; ++i) {
        jack_midi_event_t event{};
        if (_library.midiEvent(&event, buffer, i) != 0) continue;
        add(event.time);
        for (std::size_t place = 0; place < event.size; ++place) add(event.buffer[place]);
    }
    return value;
}

bool JackMIDIProcess::takeIn(const jack_midi_event_t& event, MIDILineID line, TimePoint start) noexcept {
    const auto offset = static_cast<Duration::rep>(double(event.time) * _nanosecondsPerFrame);
    const std::size_t size = std::min(event.size, MessageAssembler::kLongest);
    return _queues.input.push({line, start + Duration(offset), {event.buffer, size}});
}

void JackMIDIProcess::giveOut(Ports& ports, jack_nframes_t frames) noexcept {
    for (Output& output : ports.outputs) {
        output.buffer = _library.portBuffer(output.port, frames);
        output.isEmpty = true;
        if (output.buffer != nullptr) _library.midiClearBuffer(output.buffer);
    }
    while (const auto event = _queues.output.front()) {
        if (!giveOut(ports, *event)) return;
        _queues.output.pop();
    }
}

/// False when it has to wait for the next cycle. What goes to a port that was closed meanwhile goes nowhere.
bool JackMIDIProcess::giveOut(Ports& ports, const JackMIDIRing::Event& event) noexcept {
    const auto output = std::ranges::find(ports.outputs, event.number, &Output::number);
    if (output == ports.outputs.end() || output->buffer == nullptr) return true;
    jack_midi_data_t* place = _library.midiEventReserve(output->buffer, 0, event.bytes.size());
    if (place != nullptr) {
        std::ranges::copy(event.bytes, place);
    } else if (output->isEmpty) {
        _queues.lostInPorts.fetch_add(1, std::memory_order_relaxed);  // it will never fit
    } else {
        return false;
    }
    output->isEmpty = false;
    return true;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2Renderer.h"

#include "Platform/Audio/Instruments/Lv2/Lv2Urids.h"
#include "Platform/Foundation/Clock.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace zelvane {

namespace {

constexpr float kInaudible = 1e-6F;
constexpr double kQuietSecondsToSleep = 2;  // echoes may come that late

bool isNoteOn(const TimedMIDI& event) {
    return (event.status & 0xF0) == 0x90 && event.data2 > 0;
}

std::size_t lengthOf(const TimedMIDI& event) {
    const int kind = event.status & 0xF0;
    return kind == 0xC0 || kind == 0xD0 ? 2 : 3;
}

bool append(EventBuffer& buffer, const TimedMIDI& event, std::uint32_t frame) noexcept {
    const std::array<std::uint8_t, 3> message{event.status, event.data1, event.data2};
    return buffer.append(frame, Lv2Urids::get().midiEvent, std::as_bytes(std::span(message)).first(lengthOf(event)));
}

}  // namespace

std::shared_ptr<Lv2Instance> Lv2Renderer::replace(std::shared_ptr<Lv2Instance> instance) noexcept {
    std::swap(_instance, instance);
    _opening = Opening::everything;
    _isMuted = false;
    _quietFrames = 0;
    return instance;
}

void Lv2Renderer::endSound() noexcept {
    if (_opening != Opening::everything) _opening = Opening::endNotes;
    _isMuted = true;
    _quietFrames = 0;
}

void Lv2Renderer::sendBendsAgain() noexcept {
    if (_opening == Opening::nothing) _opening = Opening::bends;
    _quietFrames = 0;
}

RenderResult Lv2Renderer::render(std::span<const TimedMIDI> events, float* left, float* right,
                                 std::uint32_t frames) noexcept {
    if (mayStayAsleep(events, frames)) return {0, true};
    Part part{.events = events};
    for (; part.first < frames; part.first += part.frames) {
        part.frames = std::min(frames - part.first, Lv2Features::kMostFrames);
        renderPart(part, left + part.first, right + part.first);
    }
    return {part.taken, false};
}

bool Lv2Renderer::mayStayAsleep(std::span<const TimedMIDI> events, std::uint32_t frames) const noexcept {
    const bool hasEvents = !events.empty() && events.front().offset < frames;
    const bool isQuiet = static_cast<double>(_quietFrames) > kQuietSecondsToSleep * _instance->sampleRate();
    const bool hasMessages = _instance->ports().patches() != nullptr && _patches.hasMessages();
    return isQuiet && !hasEvents && !hasMessages && !_instance->worker().hasAnswers() && !_editorFeed.isOpen();
}

void Lv2Renderer::renderPart(Part& part, float* left, float* right) noexcept {
    Lv2Ports& ports = _instance->ports();
    for (std::size_t i = 0; i < _values.size(); ++i)
        ports.control(_plugin.parameters[i].id) = _values[i].load(std::memory_order_relaxed);
    ports.beginRun();
    sendOpening();
    if (EventBuffer* input = ports.patches()) _patches.send(*input);
    sendEvents(part);
    runInTime(part.frames);
    for (const EventBuffer* answers : ports.answers()) _patches.listen(*answers);
    if (_editorFeed.isOpen()) _editorFeed.listen(ports);
    deliver(part, left, right);
}

void Lv2Renderer::sendOpening() noexcept {
    const auto send = [&](const TimedMIDI& event) { append(_instance->ports().midi(), event, 0); };
    switch (std::exchange(_opening, Opening::nothing)) {
        case Opening::bends:
            return _midi.sendBends(send);
        case Opening::everything:
            return _midi.sendAll(send);
        case Opening::endNotes:
            _opening = Opening::pedals;
            return _midi.endNotes(send);
        case Opening::pedals:
            _midi.sendPedals(send);
            return _midi.sendBends(send);
        case Opening::nothing:
            return;
    }
}

// An event may bring a bend with it, hence room for two.
void Lv2Renderer::sendEvents(Part& part) noexcept {
    EventBuffer& buffer = _instance->ports().midi();
    const std::uint32_t end = part.first + part.frames;
    constexpr std::size_t kRoomForTwo = 64;
    while (part.taken < part.events.size() && part.events[part.taken].offset < end && buffer.hasRoomFor(kRoomForTwo)) {
        const TimedMIDI& event = part.events[part.taken++];
        const std::uint32_t frame = std::max(event.offset, part.first) - part.first;
        if (isNoteOn(event)) _isMuted = false;
        _midi.pass(event, [&](const TimedMIDI& one) { append(buffer, one, frame); });
        _quietFrames = 0;
    }
}

void Lv2Renderer::runInTime(std::uint32_t frames) noexcept {
    const TimePoint start = Clock::monotonic().now();
    _instance->run(frames);
    const double seconds = std::chrono::duration<double>(Clock::monotonic().now() - start).count();
    if (seconds * _instance->sampleRate() > frames) _health.slowRuns.fetch_add(1, std::memory_order_relaxed);
}

void Lv2Renderer::deliver(const Part& part, float* left, float* right) noexcept {
    const float peak = _instance->ports().peak(part.frames);
    const bool isSound = std::isfinite(peak);
    if (!isSound) _health.mutedBlocks.fetch_add(1, std::memory_order_relaxed);
    const bool isQuiet = isSound && peak < kInaudible && !_midi.hasHeldNotes();
    _quietFrames = isQuiet ? _quietFrames + part.frames : 0;
    if (isSound && !_isMuted) return _instance->ports().mix(left, right, part.frames);
    std::fill_n(left, part.frames, 0.0F);
    std::fill_n(right, part.frames, 0.0F);
}

}  // namespace zelvane

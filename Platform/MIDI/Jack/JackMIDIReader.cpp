// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Jack/JackMIDIReader.h"

#include "Platform/Foundation/Thread.h"

#include <algorithm>

namespace zelvane {

namespace {

constexpr Duration kSoon = std::chrono::milliseconds(2);

/// A wire that is taken away may still carry something in the cycle that runs, and the next.
constexpr std::uint64_t kCyclesToEnd = 2;
constexpr Duration kLongestToEnd = std::chrono::milliseconds(100);

bool isIgnored(std::uint8_t status) {
    return status >= 0xF8 && status <= 0xFE;
}

}  // namespace

void JackMIDIReader::start(MIDIBackEndListener& listener) {
    _listener = &listener;
    _isRunning = true;
    _thread = startThread("JACK MIDI", ThreadRole::reader, [this] { run(); });
}

void JackMIDIReader::stop() {
    _isStopping.store(true, std::memory_order_relaxed);
    _queues.midiThread.post();
    if (_thread.joinable()) _thread.join();
}

void JackMIDIReader::close(MIDILineID line) {
    std::unique_lock lock(_mutex);
    if (!_isRunning) return;
    _closings.push_back(line);
    _queues.midiThread.post();
    _hasFinished.wait(lock, [&] { return std::ranges::find(_closings, line) == _closings.end(); });
}

void JackMIDIReader::run() {
    while (!_isStopping.load(std::memory_order_relaxed)) {
        _queues.midiThread.wait(_isToLookAgainSoon ? std::optional(kSoon) : std::nullopt);
        turn();
    }
    const std::lock_guard lock(_mutex);
    _isRunning = false;
    _closings.clear();
    _hasFinished.notify_all();
}

// First it is seen what happened, then all is taken that had come until then.
void JackMIDIReader::turn() {
    const std::vector<MIDILineID> closed = closings();
    const std::optional<JackMIDIChanges> changes = _collect();
    const std::uint64_t cycle = _queues.cycles.load(std::memory_order_acquire);
    _isToLookAgainSoon = !changes;
    takeMessages();
    if (changes) apply(*changes);
    endUnwired(cycle);
    for (const MIDILineID line : closed) _inboxes[line].endNotes();
    deliver();
    finish(closed);
    if (changes && changes->isSetupChanged) _listener->setupChanged();
}

void JackMIDIReader::takeMessages() {
    while (const auto event = _queues.input.front()) {
        Inbox& inbox = _inboxes[event->number];
        inbox.assembler.add(event->bytes, [&](std::span<const std::uint8_t> message) {
            if (!isIgnored(message[0])) inbox.add(message, event->time);
        });
        _queues.input.pop();
    }
}

void JackMIDIReader::apply(const JackMIDIChanges& changes) {
    for (const JackMIDIChanges::Wire& wire : changes.wires) applyWire(wire);
    if (!changes.isServerLost) return;
    for (auto& [line, inbox] : _inboxes) {
        inbox.endNotes();
        inbox.wires = 0;
    }
}

void JackMIDIReader::applyWire(const JackMIDIChanges::Wire& wire) {
    Inbox& inbox = _inboxes[wire.line];
    if (wire.isConnected) {
        if (inbox.endsAtCycle) inbox.endNotes();  // of the former sender
        ++inbox.wires;
    } else {
        inbox.wires = std::max(inbox.wires - 1, 0);
    }
    if (inbox.wires > 0) return;
    inbox.endsAtCycle = _queues.cycles.load(std::memory_order_acquire) + kCyclesToEnd;
    inbox.endsAtLatest = Clock::monotonic().now() + kLongestToEnd;
}

void JackMIDIReader::endUnwired(std::uint64_t cycle) {
    for (auto& [line, inbox] : _inboxes) {
        if (!inbox.endsAtCycle) continue;
        if (cycle >= *inbox.endsAtCycle || Clock::monotonic().now() >= inbox.endsAtLatest) inbox.endNotes();
        _isToLookAgainSoon = _isToLookAgainSoon || inbox.endsAtCycle;
    }
}

void JackMIDIReader::Inbox::add(std::span<const std::uint8_t> message, TimePoint time) {
    notes.follow(message);
    latest = std::max(latest, time);
    bytes.insert(bytes.end(), message.begin(), message.end());
    packets.push_back({latest, message.size()});
}

/// Not before the notes themselves, whose time may lie ahead.
void JackMIDIReader::Inbox::endNotes() {
    endsAtCycle.reset();
    const std::vector<std::uint8_t> endings = notes.takeEndings();
    if (!endings.empty()) add(endings, std::max(latest, Clock::monotonic().now()));
}

void JackMIDIReader::deliver() {
    for (auto& [line, inbox] : _inboxes) {
        if (!inbox.packets.empty()) deliver(line, inbox);
    }
}

void JackMIDIReader::deliver(MIDILineID line, Inbox& inbox) {
    _list.clear();
    std::span<const std::uint8_t> rest = inbox.bytes;
    for (const Inbox::Packet& packet : inbox.packets) {
        _list.push_back({packet.time, rest.first(packet.size)});
        rest = rest.subspan(packet.size);
    }
    _listener->received(line, _list);
    inbox.bytes.clear();
    inbox.packets.clear();
}

std::vector<MIDILineID> JackMIDIReader::closings() {
    const std::lock_guard lock(_mutex);
    return _closings;
}

void JackMIDIReader::finish(const std::vector<MIDILineID>& closed) {
    if (closed.empty()) return;
    for (const MIDILineID line : closed) _inboxes.erase(line);
    const std::lock_guard lock(_mutex);
    std::erase_if(_closings, [&](MIDILineID line) { return std::ranges::find(closed, line) != closed.end(); });
    _hasFinished.notify_all();
}

}  // namespace zelvane

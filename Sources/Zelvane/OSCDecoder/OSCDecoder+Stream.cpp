// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Log.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"
#include "Sources/Zelvane/OSCDecoder/OSCArguments.h"
#include "Sources/Zelvane/OSCDecoder/OSCDecoder.h"

#include <algorithm>
#include <limits>

namespace zelvane {

namespace {

// A longer queue than this is started from its end only.
constexpr std::size_t kLargestStart = 200;
// Ten notes a second for nearly three hours. Clients that continue twice what they paused once double the queue each
// time.
constexpr std::size_t kLongestQueue = 100'000;
// How many notes are still to come when the client is asked for more.
constexpr std::size_t kNotesLeftWhenAsking = 5;

double secondsSincePrevious(const OSCMessage& message) {
    return message.arguments[0].doubleValue().value_or(0) / 1000;
}

// Single precision, cut toward zero: a client's 60.37 has always been 6037, whatever doubles make of it.
std::uint32_t midicFromSemitones(float semitones) {
    const float midic = semitones * 100;
    if (!(midic > 0)) return 0;
    constexpr float kBeyond = 4294967296.0F;
    return midic < kBeyond ? static_cast<std::uint32_t>(midic) : std::numeric_limits<std::uint32_t>::max();
}

}  // namespace

bool OSCDecoder::queueMicrotone(const OSCMessage& message) {
    if (!areNumbers(message, 5, 5)) {
        Log::write("OSCDecoder: [%@] /vesk.µq/fifos should have 5 number arguments, received %@",
                   {"gotOSCPacket:", message.argumentsDescription()});
        return false;
    }
    if (isQueueFull()) return false;
    _curMicrotoneOffset += secondsSincePrevious(message);
    appendMicrotoneTimer(message);
    return true;
}

void OSCDecoder::appendMicrotoneTimer(const OSCMessage& message) {
    // The decoder holds the timer, so the timer must not hold the decoder.
    auto timer = Timer::after(secondsToDuration(_curMicrotoneOffset), [decoder = weak_from_this()](Timer& fired) {
        if (const auto self = decoder.lock()) self->handleOSCMicrotoneNoteOnPacket(fired);
    });
    _oscMicrotoneTimersArray.push_back({std::move(timer), message});
}

/// Tells of the first note that finds no room, not of those that follow it.
bool OSCDecoder::isQueueFull() {
    const bool isFull = _oscMicrotoneTimersArray.size() >= kLongestQueue;
    if (isFull && !_hasToldOfFullQueue) {
        Log::write("OSCDecoder: [%@] the queue holds %d notes and takes no more",
                   {"gotOSCPacket:", std::to_string(kLongestQueue)});
    }
    _hasToldOfFullQueue = isFull;
    return isFull;
}

bool OSCDecoder::startMicrotones(const OSCMessage& /*message*/) {
    const std::size_t count = std::min(_oscMicrotoneTimersArray.size(), kLargestStart);
    for (std::size_t i = _oscMicrotoneTimersArray.size() - count; i < _oscMicrotoneTimersArray.size(); ++i)
        _playerThread.add(_oscMicrotoneTimersArray[i].timer);
    return true;
}

void OSCDecoder::countQueuedNotes() {
    _audioEngine.counters().queuedNotes.store(_oscMicrotoneTimersArray.size(), std::memory_order_relaxed);
}

void OSCDecoder::handleOSCMicrotoneNoteOnPacket(const Timer& timer) {
    const auto place = std::find_if(_oscMicrotoneTimersArray.begin(), _oscMicrotoneTimersArray.end(),
                                    [&](const MicrotoneTimer& pending) { return pending.timer.get() == &timer; });
    if (place == _oscMicrotoneTimersArray.end()) return;
    playMicrotone(place->message);
    _oscMicrotoneTimersArray.erase(place);
    countQueuedNotes();
    if (_oscMicrotoneTimersArray.size() != kNotesLeftWhenAsking) return;
    _curMicrotoneOffset = 0;
    for (const MicrotoneTimer& pending : _oscMicrotoneTimersArray)
        _curMicrotoneOffset += secondsSincePrevious(pending.message);
    askForNextMicrotoneChunk();
}

void OSCDecoder::playMicrotone(const OSCMessage& message) {
    const int channel = intArgument(message, 4);
    const NoteInfo note{midicFromSemitones(message.arguments[1].floatValue().value_or(0)),
                        static_cast<std::uint32_t>(channel)};
    _audioEngine.handleNoteOnMessage(note.midic, intArgument(message, 2), channel);
    scheduleNoteOff(note, intArgument(message, 3));
}

bool OSCDecoder::pauseMicrotones(const OSCMessage& /*message*/) {
    _oscPausedPacketsArray.emplace();
    for (MicrotoneTimer& pending : _oscMicrotoneTimersArray) {
        pending.timer->invalidate();
        _oscPausedPacketsArray->push_back(std::move(pending.message));
    }
    _oscMicrotoneTimersArray.clear();
    return true;
}

bool OSCDecoder::continueMicrotones(const OSCMessage& /*message*/) {
    if (!_oscPausedPacketsArray || _oscPausedPacketsArray->empty()) {
        _curMicrotoneOffset = 0;
        askForNextMicrotoneChunk();
        return true;
    }
    _curMicrotoneOffset = -secondsSincePrevious(_oscPausedPacketsArray->front());
    for (const OSCMessage& message : *_oscPausedPacketsArray) {
        if (isQueueFull()) break;
        _curMicrotoneOffset += secondsSincePrevious(message);
        appendMicrotoneTimer(message);
        _playerThread.add(_oscMicrotoneTimersArray.back().timer);
    }
    return true;
}

bool OSCDecoder::resetMicrotones(const OSCMessage& /*message*/) {
    for (const MicrotoneTimer& pending : _oscMicrotoneTimersArray) pending.timer->invalidate();
    _oscMicrotoneTimersArray.clear();
    _curMicrotoneOffset = 0;
    return true;
}

}  // namespace zelvane

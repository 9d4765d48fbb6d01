// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/OSCDecoder/OSCDecoder.h"

#include "Platform/Foundation/Log.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"
#include "Sources/Zelvane/OSCDecoder/OSCArguments.h"

#include <array>
#include <string_view>

namespace zelvane {

OSCDecoder::OSCDecoder(const Collaborators& collaborators)
    : _audioEngine(collaborators.audioEngine),
      _scala(collaborators.scala),
      _playerThread(collaborators.playerThread),
      _application(collaborators.application),
      _defaults(collaborators.defaults),
      _statusChecker(collaborators.statusChecker),
      _connection(std::make_unique<OSCConnection>()) {
    _connection->setDelegate(this);
    _connection->setContinuouslyReceivePackets(true);
}

OSCDecoder::~OSCDecoder() {
    _connection->setDelegate(nullptr);
}

void OSCDecoder::oscConnection(OSCConnection& /*connection*/, const OSCPacket& packet, const std::string& host,
                               std::uint16_t /*port*/) {
    if (!_audioEngine.isListening() || !_audioEngine.allMicroUnitsAreSetUp())
        return PlayerCounters::add(_audioEngine.counters().ignoredPackets);
    _application.mainRunLoop().perform([&checker = _statusChecker] { checker.checkStatus(); });
    // Live notes get the delay of the recorder's tap too, so that what is recorded is what was heard.
    const Duration latency = secondsToDuration(_audioEngine.recorderLatency());
    const auto dispatchLater = [&](const OSCPacket& child) {
        _playerThread.performAfter(latency, [self = shared_from_this(), child] { self->gotOSCPacket(child); });
    };
    if (packet.isBundle()) {
        for (const OSCPacket& child : packet.childPackets()) dispatchLater(child);
    } else {
        dispatchLater(packet);
    }
    if (!_sendConnectionIsRunning)
        setUpSendOSCConnection(host, static_cast<std::uint16_t>(_defaults.integer("outPort")));
}

struct OSCDecoder::Entry {
    std::string_view address;
    Handler handler;
};

std::span<const OSCDecoder::Entry> OSCDecoder::entries() {
    static constexpr std::array<Entry, 10> kEntries{{
        {"/om/note", &OSCDecoder::dispatchNote},
        {"/om/ctl", &OSCDecoder::dispatchCtl},
        {"/om/pgm", &OSCDecoder::dispatchProgram},
        {"/om/keymap", &OSCDecoder::dispatchKeymap},
        {"/om/tuning", &OSCDecoder::dispatchTuning},
        {"/vesk.µq/fifos", &OSCDecoder::queueMicrotone},
        {"/vesk.µq/start", &OSCDecoder::startMicrotones},
        {"/vesk.µq/pause", &OSCDecoder::pauseMicrotones},
        {"/vesk.µq/continue", &OSCDecoder::continueMicrotones},
        {"/vesk.µq/reset", &OSCDecoder::resetMicrotones},
    }};
    return kEntries;
}

std::vector<std::string> OSCDecoder::addresses() {
    std::vector<std::string> all;
    for (const Entry& entry : entries()) all.emplace_back(entry.address);
    return all;
}

bool OSCDecoder::dispatch(const OSCMessage& message) {
    for (const Entry& entry : entries()) {
        if (message.address == entry.address) return (this->*entry.handler)(message);
    }
    Log::write("OSCDecoder: [%@] received unknown OSC message %@ with arguments %@",
               {"gotOSCPacket:", message.address, message.argumentsDescription()});
    return false;
}

void OSCDecoder::gotOSCPacket(const OSCPacket& packet) {
    static const OSCMessage kNestedBundle{"#bundle", {}};
    PlayerCounters& counters = _audioEngine.counters();
    PlayerCounters::add(counters.oscMessages);
    if (!dispatch(packet.isBundle() ? kNestedBundle : packet.message())) PlayerCounters::add(counters.refusedMessages);
    countQueuedNotes();
}

bool OSCDecoder::dispatchNote(const OSCMessage& message) {
    if (!areNumbers(message, 4, 4)) {
        Log::write("OSCDecoder: [%@] /om/note should have 4 integer arguments, received %@",
                   {"gotOSCPacket:", message.argumentsDescription()});
        return false;
    }
    handleOSCNoteOnPacket(message);
    return true;
}

bool OSCDecoder::dispatchCtl(const OSCMessage& message) {
    if (!areNumbers(message, 3, 3)) {
        Log::write("OSCDecoder: [%@] /om/ctl should have 3 integer arguments, received %@",
                   {"gotOSCPacket:", message.argumentsDescription()});
        return false;
    }
    handleOSCCtlPacket(message);
    return true;
}

bool OSCDecoder::dispatchProgram(const OSCMessage& message) {
    if (!areNumbers(message, 2, 4)) {
        Log::write("OSCDecoder: [%@] /om/pgm should have 2-4 integer arguments, received %@",
                   {"gotOSCPacket:", message.argumentsDescription()});
        return false;
    }
    if (message.arguments.size() > 2) handleOSCBankSelectLSB(message);
    if (message.arguments.size() > 3) handleOSCBankSelectMSB(message);
    handleOSCProgramChange(message);
    return true;
}

void OSCDecoder::handleOSCNoteOnPacket(const OSCMessage& message) {
    const NoteInfo note{static_cast<std::uint32_t>(intArgument(message, 0)),
                        static_cast<std::uint32_t>(intArgument(message, 3))};
    _audioEngine.handleNoteOnMessage(note.midic, intArgument(message, 1), intArgument(message, 3));
    scheduleNoteOff(note, intArgument(message, 2));
}

void OSCDecoder::scheduleNoteOff(const NoteInfo& note, int lengthInMilliseconds) {
    const auto seconds = static_cast<float>(lengthInMilliseconds / 1000.0);
    _playerThread.add(Timer::after(secondsToDuration(static_cast<double>(seconds)),
                                   [self = shared_from_this(), note](Timer&) { self->handleOSCNoteOffPacket(note); }));
}

void OSCDecoder::handleOSCNoteOffPacket(const NoteInfo& note) {
    _audioEngine.handleNoteOffMessage(note.midic, static_cast<int>(note.channel));
}

namespace {

// Channel 0 wraps to 16 and 17 to 1.
std::uint8_t statusByte(int kind, std::int64_t channel) {
    return static_cast<std::uint8_t>(kind | ((channel + 15) & 15));
}

std::uint8_t dataByte(int value) {
    return static_cast<std::uint8_t>(value & 127);
}

}  // namespace

void OSCDecoder::sendControlChange(int channel, int controller, int value) {
    const std::array<std::uint8_t, 3> bytes{statusByte(0xB0, channel), dataByte(controller), dataByte(value)};
    _audioEngine.handleMIDIMessage(bytes.data(), 3);
}

void OSCDecoder::handleOSCCtlPacket(const OSCMessage& message) {
    sendControlChange(intArgument(message, 2), intArgument(message, 0), intArgument(message, 1));
}

// A program change has one data byte; the third goes out all the same, as instruments expect it from this player.
void OSCDecoder::handleOSCProgramChange(const OSCMessage& message) {
    const std::array<std::uint8_t, 3> bytes{statusByte(0xC0, intArgument(message, 1)),
                                            dataByte(intArgument(message, 0)), 0};
    _audioEngine.handleMIDIMessage(bytes.data(), 3);
}

void OSCDecoder::handleOSCBankSelectLSB(const OSCMessage& message) {
    sendControlChange(intArgument(message, 1), 32, intArgument(message, 2));
}

void OSCDecoder::handleOSCBankSelectMSB(const OSCMessage& message) {
    sendControlChange(intArgument(message, 1), 0, intArgument(message, 3));
}

}  // namespace zelvane

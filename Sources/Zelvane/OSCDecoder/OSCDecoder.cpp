// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/OSCDecoder/OSCDecoder.h"

#include "Platform/Foundation/Log.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"
#include "Sources/Zelvane/OSCDecoder/OSCArguments.h"

#include <array>
#include <string_view>
#include <utility>

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
    if (!_audioEngine.isListening() || !_audioEngine.allMicroUnitsAreSetUp()) return;
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

OSCDecoder::Handler OSCDecoder::handlerFor(const std::string& address) {
    static constexpr std::array<std::pair<std::string_view, Handler>, 10> kHandlers{{
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
    for (const auto& [known, handler] : kHandlers) {
        if (address == known) return handler;
    }
    return nullptr;
}

void OSCDecoder::gotOSCPacket(const OSCPacket& packet) {
    static const OSCMessage kNestedBundle{"#bundle", {}};
    const OSCMessage& message = packet.isBundle() ? kNestedBundle : packet.message();
    if (const Handler handler = handlerFor(message.address)) return (this->*handler)(message);
    Log::write("OSCDecoder: [%@] received unknown OSC message %@ with arguments %@",
               {"gotOSCPacket:", message.address, message.argumentsDescription()});
}

void OSCDecoder::dispatchNote(const OSCMessage& message) {
    if (areNumbers(message, 4, 4)) return handleOSCNoteOnPacket(message);
    Log::write("OSCDecoder: [%@] /om/note should have 4 integer arguments, received %@",
               {"gotOSCPacket:", message.argumentsDescription()});
}

void OSCDecoder::dispatchCtl(const OSCMessage& message) {
    if (areNumbers(message, 3, 3)) return handleOSCCtlPacket(message);
    Log::write("OSCDecoder: [%@] /om/ctl should have 3 integer arguments, received %@",
               {"gotOSCPacket:", message.argumentsDescription()});
}

void OSCDecoder::dispatchProgram(const OSCMessage& message) {
    if (!areNumbers(message, 2, 4)) {
        Log::write("OSCDecoder: [%@] /om/pgm should have 2-4 integer arguments, received %@",
                   {"gotOSCPacket:", message.argumentsDescription()});
        return;
    }
    if (message.arguments.size() > 2) handleOSCBankSelectLSB(message);
    if (message.arguments.size() > 3) handleOSCBankSelectMSB(message);
    handleOSCProgramChange(message);
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

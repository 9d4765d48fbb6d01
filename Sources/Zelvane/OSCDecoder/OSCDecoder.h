// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/RunLoop.h"
#include "Platform/Foundation/Timer.h"
#include "Platform/Foundation/UserDefaults.h"
#include "Platform/OSC/OSCConnection.h"
#include "Sources/Application.h"
#include "Sources/Zelvane/OSCDecoder/NoteInfo/NoteInfo.h"
#include "Sources/Zelvane/StatusChecker.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zelvane {

class AudioEngine;
class ScalaController;

/// Turns OSC messages into notes, controllers, programs, tuning changes and a stream of timed microtones. Everything
/// but construction happens on the player thread. Note-off timers keep their decoder alive, so a replaced one still
/// ends its notes.
class OSCDecoder : public OSCConnectionDelegate, public std::enable_shared_from_this<OSCDecoder> {
  public:
    struct Collaborators {
        AudioEngine& audioEngine;
        ScalaController& scala;
        RunLoop& playerThread;
        Application& application;
        UserDefaults& defaults;
        StatusChecker& statusChecker;
    };

    /// Makes the receiving connection, still unbound.
    explicit OSCDecoder(const Collaborators& collaborators);
    ~OSCDecoder() override;

    /// The receiving connection.
    OSCConnection& connection() { return *_connection; }
    bool sendConnectionIsRunning() const { return _sendConnectionIsRunning; }
    RunLoop& playerThread() { return _playerThread; }
    ScalaController& scala() { return _scala; }

    /// Takes a packet in: it is dispatched after the recorder's latency.
    void oscConnection(OSCConnection& connection, const OSCPacket& packet, const std::string& host,
                       std::uint16_t port) override;

    /// Dispatches one message by its address.
    void gotOSCPacket(const OSCPacket& packet);

    /// All addresses that it knows.
    static std::vector<std::string> addresses();

  private:
    using Arguments = std::vector<OSCArgument>;
    /// False for a message that it refused, and logged.
    using Handler = bool (OSCDecoder::*)(const OSCMessage&);

    struct MicrotoneTimer {
        std::shared_ptr<Timer> timer;
        OSCMessage message;
    };

    struct Entry;
    static std::span<const Entry> entries();
    bool dispatch(const OSCMessage& message);
    bool dispatchNote(const OSCMessage& message);
    bool dispatchCtl(const OSCMessage& message);
    bool dispatchProgram(const OSCMessage& message);
    bool dispatchKeymap(const OSCMessage& message);
    bool dispatchTuning(const OSCMessage& message);

    void handleOSCNoteOnPacket(const OSCMessage& message);
    void handleOSCNoteOffPacket(const NoteInfo& note);
    void handleOSCCtlPacket(const OSCMessage& message);
    void handleOSCProgramChange(const OSCMessage& message);
    void handleOSCBankSelectLSB(const OSCMessage& message);
    void handleOSCBankSelectMSB(const OSCMessage& message);
    void sendControlChange(int channel, int controller, int value);
    void scheduleNoteOff(const NoteInfo& note, int lengthInMilliseconds);

    bool queueMicrotone(const OSCMessage& message);
    bool startMicrotones(const OSCMessage& message);
    bool pauseMicrotones(const OSCMessage& message);
    bool continueMicrotones(const OSCMessage& message);
    bool resetMicrotones(const OSCMessage& message);
    void appendMicrotoneTimer(const OSCMessage& message);
    bool isQueueFull();
    void countQueuedNotes();
    void handleOSCMicrotoneNoteOnPacket(const Timer& timer);
    void playMicrotone(const OSCMessage& message);
    void askForNextMicrotoneChunk();

    void setUpSendOSCConnection(const std::string& host, std::uint16_t port);

    AudioEngine& _audioEngine;
    ScalaController& _scala;
    RunLoop& _playerThread;
    Application& _application;
    UserDefaults& _defaults;
    StatusChecker& _statusChecker;

    std::deque<MicrotoneTimer> _oscMicrotoneTimersArray;
    std::optional<std::vector<OSCMessage>> _oscPausedPacketsArray;
    bool _hasToldOfFullQueue = false;
    double _curMicrotoneOffset = 0;  // seconds from now to the next queued note

    std::unique_ptr<OSCConnection> _connection;
    std::unique_ptr<OSCConnection> _oscSendConnection;
    bool _sendConnectionIsRunning = false;
};

}  // namespace zelvane

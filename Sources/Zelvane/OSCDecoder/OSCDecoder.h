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

  private:
    using Arguments = std::vector<OSCArgument>;
    using Handler = void (OSCDecoder::*)(const OSCMessage&);

    struct MicrotoneTimer {
        std::shared_ptr<Timer> timer;
        OSCMessage message;
    };

    static Handler handlerFor(const std::string& address);
    void dispatchNote(const OSCMessage& message);
    void dispatchCtl(const OSCMessage& message);
    void dispatchProgram(const OSCMessage& message);
    void dispatchKeymap(const OSCMessage& message);
    void dispatchTuning(const OSCMessage& message);

    void handleOSCNoteOnPacket(const OSCMessage& message);
    void handleOSCNoteOffPacket(const NoteInfo& note);
    void handleOSCCtlPacket(const OSCMessage& message);
    void handleOSCProgramChange(const OSCMessage& message);
    void handleOSCBankSelectLSB(const OSCMessage& message);
    void handleOSCBankSelectMSB(const OSCMessage& message);
    void sendControlChange(int channel, int controller, int value);
    void scheduleNoteOff(const NoteInfo& note, int lengthInMilliseconds);

    void queueMicrotone(const OSCMessage& message);
    void startMicrotones(const OSCMessage& message);
    void pauseMicrotones(const OSCMessage& message);
    void continueMicrotones(const OSCMessage& message);
    void resetMicrotones(const OSCMessage& message);
    void appendMicrotoneTimer(const OSCMessage& message);
    bool isQueueFull();
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

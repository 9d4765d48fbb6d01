// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Error.h"
#include "Platform/Foundation/RunLoop.h"
#include "Platform/Foundation/Timer.h"
#include "Platform/OSC/OSCConnection.h"
#include "Platform/Session/NsmAddress.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zelvane {

/// A program that takes part in sessions: the client's side of the NSM protocol, version 1.2. The manager gives it one
/// session, in which it stays; being stopped is a SIGTERM like any other. All on the thread of the run loop.
class NsmClient final : private OSCConnectionDelegate {
  public:
    struct Session {
        std::filesystem::path folder;  ///< the program's own in the session; may not be there yet
        std::string displayName;
        std::string clientID;  ///< unique in the session: for the names of clients at sound servers
    };
    enum class State {
        waiting,      ///< for the manager's answer, or then for the session
        open,         ///< the session is known, and its opening to be answered
        unreachable,  ///< there is no such manager, or it gives no answer
        refused,      ///< the manager will not have the program, or gives it no session
    };
    /// Stores all; the error is shown to the manager's user.
    using SaveHandler = std::function<bool(Error&)>;

    /// How long a manager may take to answer, and then to name the session: it waits for other programs meanwhile.
    static constexpr Duration kAnswerLimit = std::chrono::seconds(5);
    static constexpr Duration kOpenLimit = std::chrono::seconds(60);

    /// `url` is what the manager put into NSM_URL. The run loop is that of the calling thread and outlives the client.
    NsmClient(RunLoop& runLoop, std::string url);
    /// A session whose opening was not answered has failed.
    ~NsmClient() override;
    NsmClient(const NsmClient&) = delete;
    NsmClient& operator=(const NsmClient&) = delete;

    /// Tells the manager of the program, by its name and that of its executable, to be found on the path of programs.
    /// What comes of it shows in the state when the run loop has run.
    void announce(const std::string& name, const std::string& executable);

    State state() const { return _state; }
    /// Why the state is `unreachable` or `refused`, in a sentence without its end.
    const std::string& reason() const { return _reason; }
    const std::optional<Session>& session() const { return _session; }

    /// To be called once, when the program is ready for use. From then on `save` is called when the manager asks.
    void answerOpen(SaveHandler save);

  private:
    /// Of the protocol.
    enum class Code : std::int32_t { general = -1, noSessionOpen = -6, notNow = -8, createFailed = -10 };

    void oscConnection(OSCConnection& connection, const OSCPacket& packet, const std::string& host,
                       std::uint16_t port) override;
    void take(const OSCMessage& message);
    void takeAnswer(const OSCMessage& message);
    void takeOpen(const OSCMessage& message);
    void takeSave();
    void reply(const std::string& path, const std::string& text);
    void complain(const std::string& path, Code code, const std::string& text);
    void expectWithin(Duration limit, State otherwise, const std::string& reason);
    void end(State state, const std::string& reason);

    RunLoop& _runLoop;
    const std::string _url;
    const std::optional<NsmAddress> _manager;
    OSCConnection _connection;
    std::string _replyHost;  // where the last message came from
    std::shared_ptr<Timer> _limit;
    State _state = State::waiting;
    std::string _reason;
    bool _isAccepted = false;
    bool _isOpenAnswered = false;
    std::optional<Session> _session;
    SaveHandler _save;
};

}  // namespace zelvane

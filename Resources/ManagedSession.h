// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/RunLoop.h"
#include "Platform/Foundation/UserDefaults.h"
#include "Platform/Jack/JackPresence.h"

#include <memory>
#include <optional>
#include <string>

namespace zelvane {

class NsmClient;

/// The session that the player belongs to when a session manager started it: it has its settings in the session's
/// folder instead of the user's. Main thread.
class ManagedSession {
  public:
    /// Where a manager's address is in the environment, waits on the run loop until it has opened a session. From then
    /// on the settings folder is the session's.
    explicit ManagedSession(RunLoop& mainRunLoop);
    ~ManagedSession();

    /// Why the player may not run, in a sentence without its end: the manager will not have it.
    const std::optional<std::string>& refusal() const { return _refusal; }
    /// Whether the player is in a session.
    bool isOpen() const;
    /// One for all that the player has at JACK.
    const JackPresence& jackPresence() const { return _jackPresence; }
    /// To be called when the player can be used, unless it is to end: the manager learns that, and has the settings
    /// saved when it asks.
    void begin(UserDefaults& defaults);

  private:
    void settle();
    void enter();

    RunLoop& _mainRunLoop;
    std::unique_ptr<NsmClient> _manager;  // null outside of a session
    std::optional<std::string> _refusal;
    JackPresence _jackPresence;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"
#include "Tests/EndToEnd/RunningPlayer.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <sys/types.h>

#include <string>
#include <vector>

namespace zelvane {

/// The player as a user starts it, with the font of the system, in a home that is empty.
class PlayerProgram {
  public:
    explicit PlayerProgram(const std::vector<std::string>& options);

    TimePoint started() const { return _started; }
    bool isListening() const;
    void send(const OSCMessage& message) const { _client.send(message, _port); }
    pid_t process() const;

  private:
    std::string output() const { return TemporaryFolder::read(_outputFile); }
    std::vector<std::string> command(const std::vector<std::string>& options) const;
    ChildProcess::Environment environment() const;

    const LoopbackSocket _client;
    const std::uint16_t _port;
    TemporaryFolder _home;
    const std::string _outputFile;
    const TimePoint _started;
    ChildProcess _process;
};

}  // namespace zelvane

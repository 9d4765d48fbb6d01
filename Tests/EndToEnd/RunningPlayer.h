// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/LoopbackSocket.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zelvane {

/// The real program, in a home of its own whose General MIDI font sounds like a tuning fork.
class RunningPlayer {
  public:
    /// Of the bundles named, as they are installed, it knows the instruments. With a desktop's environment it runs on
    /// that desktop, else without one. The program is the one that was built, unless another is named.
    explicit RunningPlayer(const std::vector<std::string>& options = {}, const std::vector<std::string>& bundles = {},
                           const ChildProcess::Environment& desktop = {}, std::string program = ZELVANE_PROGRAM);
    /// Copies the program, without the lists of properties that come with it, into a folder; where it is then.
    static std::string copyWithoutLists(const std::filesystem::path& folder);

    /// True once it says that it listens.
    bool isListening() const;
    void send(const OSCMessage& message) const { client.send(message, port); }
    /// What it has printed so far, both outputs.
    std::string output() const;
    /// Starts it once more, as a user would who forgot that it runs: the exit status, and what it printed.
    std::pair<int, std::string> startAgain(const std::vector<std::string>& options = {}) const;
    /// By which it is found.
    std::filesystem::path settingsFolder() const { return _home.path / "config" / "Zelvane"; }
    /// The files and libraries in its memory.
    std::string maps() const;
    /// Asks it to end; its exit status.
    int terminate();
    pid_t id() const { return _process->id(); }
    int wait() { return _process->wait(); }
    void signal(int number) const { _process->signal(number); }

    const LoopbackSocket client;  ///< on the player's `outPort`
    std::uint16_t port;

  private:
    void install(const std::vector<std::string>& bundles) const;

    const std::string _program;
    TemporaryFolder _home;
    ChildProcess::Environment _environment;
    std::string _outputFile;
    std::unique_ptr<ChildProcess> _process;
};

}  // namespace zelvane

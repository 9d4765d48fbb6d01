// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <optional>
#include <string>

namespace zelvane {

/// A JACK server without hardware, under a name of its own, that this process takes for the default server.
class JackServer {
  public:
    /// Makes the name the default one of this process; starts nothing. Before anything of JACK is used.
    JackServer();
    ~JackServer();
    JackServer(const JackServer&) = delete;
    JackServer& operator=(const JackServer&) = delete;

    /// True when it answers.
    bool start(unsigned sampleRate = 48000, unsigned periodFrames = 256);
    /// What it has said so far, above all who was late.
    std::string output() const { return TemporaryFolder::read(outputFile()); }
    /// Ends it as a crash would.
    void kill();
    /// Holds it, as a server that hangs; lets it go on.
    void freeze() const;
    void thaw() const;
    /// Runs a JACK tool (jack_connect, say) against it. True when it succeeded.
    bool tool(const std::vector<std::string>& command, const std::string& outputFile = {}) const;
    /// What such a tool tells; nothing when it fails.
    std::string answer(const std::vector<std::string>& command) const;
    /// All ports, with those each is connected to indented below it.
    std::string wires() const { return answer({"jack_lsp", "-c"}); }

  private:
    bool tryToStart(unsigned sampleRate, unsigned periodFrames);
    void removeLeftovers() const;
    std::string outputFile() const { return _folder.path / "output"; }

    TemporaryFolder _folder;
    std::string _name;
    const int _lock;
    std::optional<ChildProcess> _process;
};

}  // namespace zelvane

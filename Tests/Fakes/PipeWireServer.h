// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <optional>
#include <string>

namespace zelvane {

/// A PipeWire server with its session manager and without hardware that belongs to the test, and that this process
/// takes for the default server.
class PipeWireServer {
  public:
    /// Makes its address the default one of this process; starts nothing.
    PipeWireServer();
    ~PipeWireServer() { kill(); }
    PipeWireServer(const PipeWireServer&) = delete;
    PipeWireServer& operator=(const PipeWireServer&) = delete;

    /// Starts it without any sink. True when it answers.
    bool start();
    /// Ends it as a crash would.
    void kill();
    /// Adds a sink that takes sound at its own pace. It goes with `removeSink`.
    bool addSink(const std::string& name, const std::string& description);
    bool removeSink(const std::string& name);
    /// Has it run at another quantum (frames) or rate (Hz), named "quantum" and "rate", whatever is asked for; 0 ends
    /// that.
    bool force(const std::string& what, unsigned value);
    bool makeDefault(const std::string& name);

  private:
    ChildProcess::Environment environment() const;

    TemporaryFolder _folder;
    std::optional<ChildProcess> _server;
    std::optional<ChildProcess> _sessionManager;
};

}  // namespace zelvane

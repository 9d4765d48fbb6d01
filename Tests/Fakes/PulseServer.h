// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <optional>
#include <string>

namespace zelvane {

/// A PulseAudio server without hardware that belongs to the test, and that this process takes for the default server.
class PulseServer {
  public:
    /// Makes its address the default one of this process; starts nothing.
    PulseServer();
    PulseServer(const PulseServer&) = delete;
    PulseServer& operator=(const PulseServer&) = delete;

    /// Starts it without any sink. True when it answers.
    bool start();
    /// Ends it as a crash would.
    void kill() { _process.reset(); }
    /// Adds a sink that takes sound at its own pace; returns what `removeSink` wants.
    std::string addSink(const std::string& name, const std::string& description, unsigned sampleRate);
    bool removeSink(const std::string& module);
    /// Runs pactl against it. True when it succeeded.
    bool control(const std::vector<std::string>& arguments, const std::string& outputFile = {}) const;

  private:
    ChildProcess::Environment environment() const;

    TemporaryFolder _folder;
    std::optional<ChildProcess> _process;
};

}  // namespace zelvane

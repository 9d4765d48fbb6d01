// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/LoopbackSocket.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <string>

namespace zelvane {

/// The program `fluidsynth` on JACK, dry, played by lines over the socket of its shell.
class FluidSynthProgram {
  public:
    explicit FluidSynthProgram(const std::filesystem::path& font);

    /// Sends one line at once.
    void send(const std::string& line) const;
    pid_t process() const;

    static constexpr const char* kLeftPort = "fluidsynth:left";

  private:
    std::string command(const std::filesystem::path& font) const;
    bool connectToShell();

    const TemporaryFolder _folder;
    const std::string _outputFile;
    const std::uint16_t _port;
    ChildProcess _process;
    LoopbackSocket _shell{SOCK_STREAM};
};

}  // namespace zelvane

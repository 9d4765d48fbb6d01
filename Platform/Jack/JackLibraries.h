// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Jack/JackClient.h"

#include <memory>
#include <string>
#include <vector>

namespace zelvane {

/// The JACK libraries of this system, in the order of preference. Each is loaded when those before it reach no server.
/// Outlives the clients opened through it. Used by one thread at a time.
class JackLibraries {
  public:
    JackLibraries() : _paths(JackLibrary::candidates()) {}

    /// A client at the first server that answers; null when none does, or while a dead client is left.
    std::unique_ptr<JackClient> openClient(const char* name, WakeUp* whenDead = nullptr);

  private:
    std::vector<std::string> _paths;                       // of those not loaded yet
    std::vector<std::unique_ptr<JackLibrary>> _libraries;  // null where there is none
};

}  // namespace zelvane

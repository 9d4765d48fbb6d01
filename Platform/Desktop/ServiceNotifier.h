// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace zelvane {

/// Tells the service manager that started the program something about its state ("READY=1", "STOPPING=1"). Does nothing
/// when no service manager asked for it. Any thread but the audio thread.
void notifyServiceManager(const std::string& state);

}  // namespace zelvane

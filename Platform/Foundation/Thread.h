// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>
#include <thread>

namespace zelvane {

/// What a thread is for, which decides the priority it asks for. One that is not granted is done without, quietly.
enum class ThreadRole {
    ordinary,  ///< no wish
    reader,    ///< takes packets from the kernel and hands them on: above all that makes sound late, below audio
    player,    ///< all musical work
    audio,     ///< renders against a deadline
};

/// Starts a thread under a name (cut to 15 bytes) and role; it is joined when the object goes away.
std::jthread startThread(const std::string& name, ThreadRole role, std::function<void()> body);

/// Gives the calling thread the priority of a role. True when it was granted.
bool adoptRole(ThreadRole role);

}  // namespace zelvane

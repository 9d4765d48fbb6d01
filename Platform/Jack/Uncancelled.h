// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <pthread.h>

#include <cstdint>

namespace zelvane {

/// Runs the body, which throws nothing, within a callback of JACK's. Real-time safe if the body is.
///
/// JACK's library ends its threads by cancelling them wherever they are, also in the middle of a callback. Frames that
/// can't be unwound would end the program then, and what the callback was at would stay half done: so only before and
/// after. This frame itself can be unwound, since it holds nothing.
template <typename Body>
void uncancelled(const Body& body) {
    int former = PTHREAD_CANCEL_ENABLE;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &former);
    body();
    pthread_setcancelstate(former, nullptr);
}

/// A process callback that calls a member function of the object it is registered with.
template <auto Process, typename Owner>
int processUncancelled(std::uint32_t frames, void* owner) {
    int result = 0;
    uncancelled([&] { result = (static_cast<Owner*>(owner)->*Process)(frames); });
    return result;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <jack/jack.h>
#include <pthread.h>

namespace zelvane {

/// A process callback that calls `Process`, a member function without exceptions, of the object it is registered with.
///
/// JACK's library ends its threads by cancelling them wherever they are, also in the middle of a cycle. Frames that
/// can't be unwound would end the program then, and what the cycle was at would stay half done: so only between cycles.
/// This frame itself can be unwound, since it holds nothing.
template <auto Process, typename Owner>
int processUncancelled(jack_nframes_t frames, void* owner) {
    int former = PTHREAD_CANCEL_ENABLE;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &former);
    const int result = (static_cast<Owner*>(owner)->*Process)(frames);
    pthread_setcancelstate(former, nullptr);
    return result;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ctime>

namespace zelvane {

/// The seconds for which this thread had a core so far: what other programs take does not count.
inline double coreSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

}  // namespace zelvane

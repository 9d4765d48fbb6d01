// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

namespace zelvane {

/// While it lives, the calling thread takes denormal numbers for zero: tails of reverbs and filters would otherwise
/// cost a hundred times their share. The former mode comes back at its end, since the thread may belong to a library.
/// Real-time safe.
class ScopedFlushToZero {
  public:
    ScopedFlushToZero() : _former(mode()) { setMode(_former | kFlush); }
    ~ScopedFlushToZero() { setMode(_former); }
    ScopedFlushToZero(const ScopedFlushToZero&) = delete;
    ScopedFlushToZero& operator=(const ScopedFlushToZero&) = delete;

  private:
#if defined(__x86_64__)
    using Mode = unsigned;
    static constexpr Mode kFlush = 0x8040;  // results to zero, and operands too
    static Mode mode() {
        return _mm_getcsr();
    }
    static void setMode(Mode mode) {
        _mm_setcsr(mode);
    }
#elif defined(__aarch64__)
    using Mode = std::uint64_t;
    static constexpr Mode kFlush = Mode{1} << 24;
    static Mode mode() {
        Mode mode = 0;
        asm volatile("mrs %0, fpcr" : "=r"(mode));
        return mode;
    }
    static void setMode(Mode mode) {
        asm volatile("msr fpcr, %0" : : "r"(mode));
    }
#else
    using Mode = unsigned;
    static constexpr Mode kFlush = 0;
    static Mode mode() {
        return 0;
    }
    static void setMode(Mode) {}
#endif

    const Mode _former;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// FluidSynth runs reverb and chorus as an OpenMP parallel region of a single thread, for which the OpenMP library
/// allocates and frees a team every 64 frames. This library defines the entry of such regions in its stead: on a thread
/// that renders audio the region's body is called directly, which is what a region of one thread means; elsewhere the
/// OpenMP library does as ever.
///
/// Looks up what the entry hands on to. Control threads, before the first rendering.
void prepareSerialOpenMP();

/// While it lives, regions of the calling thread run in that thread alone. Fonts are read that way: the threads that
/// would help cost more than they give, and stay.
class SerialOpenMP {
  public:
    SerialOpenMP() noexcept;
    ~SerialOpenMP();
    SerialOpenMP(const SerialOpenMP&) = delete;
    SerialOpenMP& operator=(const SerialOpenMP&) = delete;

  private:
    const bool _former;
};

}  // namespace zelvane

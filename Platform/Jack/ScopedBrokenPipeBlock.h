// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// Holds back the signal that writing to a dead server's socket would end the program with. libjack blocks it in the
/// thread that loads it only.
class ScopedBrokenPipeBlock {
  public:
    ScopedBrokenPipeBlock();
    ~ScopedBrokenPipeBlock();
    ScopedBrokenPipeBlock(const ScopedBrokenPipeBlock&) = delete;
    ScopedBrokenPipeBlock& operator=(const ScopedBrokenPipeBlock&) = delete;

  private:
    bool _wasBlocked = false;
};

}  // namespace zelvane

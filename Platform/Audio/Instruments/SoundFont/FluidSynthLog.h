// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// Sends FluidSynth's warnings and errors to our log from now on; what it says while audio is rendered is left out,
/// since a log line may block. Control threads, as often as wanted.
void installFluidSynthLog();

/// Keeps FluidSynth quiet on the calling thread while it lives: it complains of every channel whose program a font
/// lacks.
class FluidSynthSilence {
  public:
    FluidSynthSilence() noexcept;
    ~FluidSynthSilence();
    FluidSynthSilence(const FluidSynthSilence&) = delete;
    FluidSynthSilence& operator=(const FluidSynthSilence&) = delete;

  private:
    const bool _former;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <memory>

namespace zelvane {

class SoundFontSynth;

/// Hands synths from thread to thread: any thread pushes, any thread takes all. Real-time safe, but for destruction,
/// which frees what is left.
class SynthStack {
  public:
    SynthStack() = default;
    ~SynthStack();
    SynthStack(const SynthStack&) = delete;
    SynthStack& operator=(const SynthStack&) = delete;

    void push(std::unique_ptr<SoundFontSynth> synth) noexcept;

    /// The synths pushed so far, chained, or null. It is one atomic read when there is none.
    std::unique_ptr<SoundFontSynth> takeAll() noexcept;

  private:
    std::atomic<SoundFontSynth*> _first{nullptr};
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/File/ExtAudioFileSlot.h"
#include "Platform/Audio/Graph/MixerTap.h"

#include <atomic>
#include <cstdint>

namespace zelvane {

/// What becomes of the mix on the audio thread: it goes to a file while it is recorded, and what fails is kept for a
/// thread that may tell it.
class RecorderTap {
  public:
    struct Failures {
        std::uint64_t count = 0;
        OSStatus last = kNoError;
    };

    /// The audio thread, real-time safe.
    void take(const AVAudioPCMBuffer& buffer, const AVAudioTime& time, bool isRecording) noexcept;

    /// The file that is written. Control threads.
    ExtAudioFileSlot& file() { return _file; }
    /// Whether any sound has come yet. Control threads.
    bool hasBeenCalled() const { return _hasBeenCalled.load(std::memory_order_acquire); }
    /// Frames, of all recordings, that found no room or no file that works. Any thread.
    std::uint64_t lostFrames() const { return _lostFrames.load(std::memory_order_relaxed); }
    /// Writes that failed since this was last asked. One control thread.
    Failures takeFailures();

  private:
    ExtAudioFileSlot _file;
    // Written by the audio thread, read by control threads.
    std::atomic<bool> _hasBeenCalled{false};
    std::atomic<std::uint64_t> _failed{0};
    std::atomic<std::uint64_t> _lostFrames{0};
    std::atomic<OSStatus> _lastStatus{kNoError};

    std::uint64_t _told = 0;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/File/ExtAudioFile.h"

#include <atomic>

namespace zelvane {

/// Where the audio thread finds the file to write on. It can be taken out while sound comes in.
class ExtAudioFileSlot {
  public:
    /// A file that is primed; the slot doesn't own it. Any thread but the audio thread.
    void put(ExtAudioFile& file) { _file.store(&file, std::memory_order_seq_cst); }
    /// Null when there was none. When it returns the file is not being written on and will not be. Any thread but the
    /// audio thread.
    ExtAudioFile* take();

    /// Does nothing without a file. The audio thread, real-time safe.
    OSStatus write(std::uint32_t frames, const AudioBufferList& buffer) noexcept;

  private:
    std::atomic<ExtAudioFile*> _file{nullptr};  // written by control threads, read by the audio thread
    std::atomic<bool> _isInside{false};         // written by the audio thread, read by control threads
};

}  // namespace zelvane

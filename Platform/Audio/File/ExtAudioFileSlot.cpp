// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/File/ExtAudioFileSlot.h"

#include <thread>

namespace zelvane {

// Each side changes its own variable before it reads the other's. With both in one total order, at least one of two
// that meet sees the other.

ExtAudioFile* ExtAudioFileSlot::take() {
    ExtAudioFile* file = _file.exchange(nullptr, std::memory_order_seq_cst);
    while (_isInside.load(std::memory_order_seq_cst)) std::this_thread::sleep_for(std::chrono::microseconds(50));
    return file;
}

OSStatus ExtAudioFileSlot::write(std::uint32_t frames, const AudioBufferList& buffer) noexcept {
    _isInside.store(true, std::memory_order_seq_cst);
    ExtAudioFile* file = _file.load(std::memory_order_seq_cst);
    const OSStatus status = file != nullptr ? ExtAudioFileWriteAsync(file, frames, &buffer) : kNoError;
    _isInside.store(false, std::memory_order_seq_cst);
    return status;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/AudioEngine/RecorderTap.h"

namespace zelvane {

void RecorderTap::take(const AVAudioPCMBuffer& buffer, const AVAudioTime& time, bool isRecording) noexcept {
    _hasBeenCalled.store(true, std::memory_order_release);
    if (!isRecording) return;
    const OSStatus status = _file.write(buffer.frameLength, {buffer.channelData, time.sampleRate});
    if (status == kNoError) return;
    _lastStatus.store(status, std::memory_order_relaxed);
    _lostFrames.fetch_add(buffer.frameLength, std::memory_order_relaxed);
    _failed.fetch_add(1, std::memory_order_release);
}

RecorderTap::Failures RecorderTap::takeFailures() {
    const std::uint64_t failed = _failed.load(std::memory_order_acquire);
    const std::uint64_t count = failed - _told;
    _told = failed;
    return {count, _lastStatus.load(std::memory_order_relaxed)};
}

}  // namespace zelvane

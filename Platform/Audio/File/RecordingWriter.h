// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/File/ExtAudioFile.h"
#include "Platform/Audio/File/LosslessFile.h"
#include "Platform/Audio/File/SampleRing.h"
#include "Platform/Audio/File/StreamConverter.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace zelvane {

/// The thread that takes sound out of the ring and brings it into the file.
class RecordingWriter {
  public:
    /// The report says which file it is, and is kept up from here on.
    RecordingWriter(std::unique_ptr<LosslessFile> file, const LosslessFormat& format, std::size_t ringSamples,
                    ExtAudioFileReport report, ExtAudioFileOptions options);
    /// Finishes the file and waits for that.
    ~RecordingWriter();
    RecordingWriter(const RecordingWriter&) = delete;
    RecordingWriter& operator=(const RecordingWriter&) = delete;

    /// Real-time safe, one thread at a time.
    OSStatus write(std::uint32_t frames, const AudioBufferList& buffer) noexcept;
    /// Finishes the file, without waiting for that.
    void end();
    void waitUntilEnded();

    ExtAudioFileReport report() const;

  private:
    void run();
    void writeSound();
    void takeAllFromRing();
    bool waitForMore();
    void finishFile();
    void attempt(const std::function<void()>& work);
    void fail(OSStatus status, int number, const std::string& text);

    SampleRing _ring;
    std::unique_ptr<LosslessFile> _file;  // of the writing thread from its start on
    StreamConverter _converter;
    const ExtAudioFileOptions _options;
    std::atomic<OSStatus> _status{kNoError};  // written by the writing thread, read by the audio thread

    mutable std::mutex _mutex;
    std::condition_variable _condition;
    ExtAudioFileReport _report;  // guarded, like the following
    bool _isEnding = false;
    std::jthread _thread;
};

}  // namespace zelvane

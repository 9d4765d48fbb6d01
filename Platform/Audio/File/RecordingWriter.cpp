// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/File/RecordingWriter.h"

#include "Platform/Audio/File/RecordingError.h"
#include "Platform/Foundation/Thread.h"

#include <signal.h>

#include <cerrno>

namespace zelvane {

namespace {

/// The audio thread can't wake anybody, so the ring is looked into that often.
constexpr std::chrono::milliseconds kPause(30);

/// A limit to the size of files is an error to tell, not a reason to end the program.
void keepFileSizeSignalAway() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace

RecordingWriter::RecordingWriter(std::unique_ptr<LosslessFile> file, const LosslessFormat& format,
                                 std::size_t ringSamples, ExtAudioFileReport report, ExtAudioFileOptions options)
    : _ring(ringSamples),
      _file(std::move(file)),
      _converter(format.sampleRate, format.channels,
                 [this](const float* const* channels, std::uint32_t frames) { _file->write(channels, frames); }),
      _options(std::move(options)),
      _report(std::move(report)),
      _thread(startThread("recording", ThreadRole::ordinary, [this] { run(); })) {}

RecordingWriter::~RecordingWriter() {
    waitUntilEnded();
}

OSStatus RecordingWriter::write(std::uint32_t frames, const AudioBufferList& buffer) noexcept {
    const OSStatus status = _status.load(std::memory_order_relaxed);
    if (status != kNoError) return status;
    return _ring.push(buffer.channels, frames, buffer.sampleRate) ? kNoError
                                                                  : kExtAudioFileError_AsyncWriteBufferOverflow;
}

void RecordingWriter::end() {
    {
        const std::lock_guard lock(_mutex);
        _isEnding = true;
    }
    _condition.notify_one();
}

void RecordingWriter::waitUntilEnded() {
    end();
    if (_thread.joinable()) _thread.join();
}

ExtAudioFileReport RecordingWriter::report() const {
    const std::lock_guard lock(_mutex);
    ExtAudioFileReport report = _report;
    report.framesDropped = _ring.framesDropped();
    return report;
}

void RecordingWriter::run() {
    keepFileSizeSignalAway();
    attempt([this] { writeSound(); });
    if (_status.load(std::memory_order_relaxed) == kNoError) attempt([this] { finishFile(); });
    while (waitForMore()) {
    }
    _file.reset();
    {
        const std::lock_guard lock(_mutex);
        _report.isFinished = true;
    }
    if (_options.finished) _options.finished(report());
}

void RecordingWriter::writeSound() {
    while (waitForMore()) takeAllFromRing();
    takeAllFromRing();
    _converter.writeSilence(_ring.silenceAtEnd());
    _converter.finish();
}

void RecordingWriter::takeAllFromRing() {
    RingBlock block;
    while (_ring.pop(block)) {
        _converter.writeSilence(block.silenceSeconds);
        _converter.write(block.samples, block.channels, block.frames, block.sampleRate);
        const std::lock_guard lock(_mutex);
        _report.framesWritten = _file->frames();
    }
}

/// Pauses. False once the file is to be finished.
bool RecordingWriter::waitForMore() {
    std::unique_lock lock(_mutex);
    return !_condition.wait_for(lock, kPause, [this] { return _isEnding; });
}

void RecordingWriter::finishFile() {
    const bool isOrdinary = _file->finish();
    const std::lock_guard lock(_mutex);
    _report.framesWritten = _file->frames();
    _report.isFragmented = !isOrdinary;
}

void RecordingWriter::attempt(const std::function<void()>& work) {
    try {
        work();
    } catch (const RecordingError& error) {
        fail(error.status(), error.number(), error.what());
    } catch (const std::bad_alloc&) {
        fail(kAudio_MemFullError, ENOMEM, "not enough memory");
    }
}

void RecordingWriter::fail(OSStatus status, int number, const std::string& text) {
    {
        const std::lock_guard lock(_mutex);
        _report.status = status;
        _report.errorNumber = number;
        _report.errorText = text;
        _report.framesWritten = _file->frames();
    }
    _status.store(status, std::memory_order_relaxed);
    if (_options.failed) _options.failed(report());
}

}  // namespace zelvane

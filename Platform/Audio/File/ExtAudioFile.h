// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/File/AudioFileTypes.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace zelvane {

/// An audio file that is being written.
class ExtAudioFile;

struct ExtAudioFileDeleter {
    void operator()(ExtAudioFile* file) const;
};

/// Owner of an open file. One that is simply let go is finished as by `ExtAudioFileDispose`.
using ExtAudioFileRef = std::unique_ptr<ExtAudioFile, ExtAudioFileDeleter>;

/// Sound to be written: one buffer a channel, and the rate at which it was made, which need not be the file's.
struct AudioBufferList {
    std::span<const float* const> channels;
    double sampleRate = 0;
};

/// How a recording stands.
struct ExtAudioFileReport {
    std::filesystem::path path;
    double sampleRate = 0;            ///< of the file
    std::uint64_t framesWritten = 0;  ///< in the file, at its rate, with the silence that stands for what was dropped
    std::uint64_t framesDropped = 0;  ///< handed over while there was no room, at the rates they came at
    OSStatus status = kNoError;       ///< of the failure that ended the writing, or of its end
    int errorNumber = 0;              ///< the system's number for it
    std::string errorText;            ///< what could not be done and why; empty without a failure
    bool isFinished = false;          ///< nothing works on the file any more
    bool isFragmented = true;         ///< still as it is while it is written; players open it all the same
};

/// Called on the writing thread, which waits for it.
using ExtAudioFileCallback = std::function<void(const ExtAudioFileReport&)>;

struct ExtAudioFileOptions {
    ExtAudioFileCallback failed = {};    ///< once, when writing has failed; the file is to be disposed of all the same
    ExtAudioFileCallback finished = {};  ///< once, when the file is finished, after `failed` where both are called
    std::chrono::milliseconds ringLength{10000};  ///< how much sound waits for a disk that does not answer
    std::function<void()> beforeWrite = {};  ///< before each piece goes to the disk, on the writing thread; for tests
};

/// Makes an M4A file with Apple Lossless: 16 or 24 bits by the format's flags, 1 to 8 channels. With the flag to erase,
/// a file of that name is replaced by the first sound; without, there may be none. From that first sound on, whatever
/// happens to the program, the name stands for a file that opens and lacks a second at most. Any thread but the audio
/// thread; writes to the disk.
OSStatus ExtAudioFileCreateWithURL(const std::filesystem::path& path, AudioFileTypeID type,
                                   const AudioStreamBasicDescription& format, std::uint32_t flags,
                                   ExtAudioFileRef& file, ExtAudioFileOptions options = {});

/// The client data format, once: float samples, one buffer a channel. What is then written may differ in rate and
/// channels; it is converted to the file's. Any thread but the audio thread.
OSStatus ExtAudioFileSetProperty(ExtAudioFile* file, ExtAudioFilePropertyID property, std::uint32_t size,
                                 const void* data);

/// Hands sound over. The first call, with no frames and no buffer, makes room and starts the writing thread, so it may
/// not come from the audio thread; afterwards real-time safe, one thread at a time. Sound that finds no room is dropped
/// (kExtAudioFileError_AsyncWriteBufferOverflow), and silence of its length takes its place. After a failure its
/// status.
OSStatus ExtAudioFileWriteAsync(ExtAudioFile* file, std::uint32_t frames, const AudioBufferList* buffer) noexcept;

/// Has the writing thread finish the file and returns at once; `finished` tells when. Nothing more may be written. Any
/// thread but the audio thread.
OSStatus ExtAudioFileBeginDispose(ExtAudioFile* file);
/// Finishes the file and waits for that, which for a long recording takes as long as copying the file. The status is
/// that of the report at the end. Any thread but the audio thread and the writing thread.
OSStatus ExtAudioFileDispose(ExtAudioFileRef& file);

/// Any thread but the audio thread.
ExtAudioFileReport ExtAudioFileGetReport(const ExtAudioFile* file);

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/File/ExtAudioFile.h"

#include "Platform/Audio/File/RecordingError.h"
#include "Platform/Audio/File/RecordingWriter.h"
#include "Platform/Foundation/AtomicFile.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <new>
#include <system_error>

namespace zelvane {

namespace {

constexpr std::uint32_t kMostChannels = 8;
constexpr double kHighestRate = 768000;

bool isUsable(double sampleRate, std::uint32_t channels) {
    return sampleRate >= 1 && sampleRate <= kHighestRate && channels >= 1 && channels <= kMostChannels;
}

/// The encoder knows 16 and 24 bits; floats hold no more.
std::uint32_t bitsOf(std::uint32_t flags) {
    return flags == kAppleLosslessFormatFlag_16BitSourceData ? 16 : 24;
}

bool isLossless(const AudioStreamBasicDescription& format) {
    return format.mFormatID == kAudioFormatAppleLossless && isUsable(format.mSampleRate, format.mChannelsPerFrame) &&
           format.mFormatFlags >= kAppleLosslessFormatFlag_16BitSourceData &&
           format.mFormatFlags <= kAppleLosslessFormatFlag_32BitSourceData;
}

bool isSeparateFloat(const AudioStreamBasicDescription& format) {
    constexpr std::uint32_t kNeeded = kAudioFormatFlagIsFloat | kAudioFormatFlagIsNonInterleaved;
    return format.mFormatID == kAudioFormatLinearPCM && (format.mFormatFlags & kNeeded) == kNeeded &&
           isUsable(format.mSampleRate, format.mChannelsPerFrame);
}

/// Where the file really is, however the program's folder may change.
std::filesystem::path placeOf(const std::filesystem::path& path) {
    const auto place = linkTarget(std::filesystem::absolute(path));
    if (!place) throw RecordingError(ELOOP, "could not find it");
    return *place;
}

/// Runs work that writes to the disk and makes threads.
template <typename Work>
OSStatus statusOf(Work work) noexcept {
    try {
        return work();
    } catch (const RecordingError& error) {
        return error.status();
    } catch (const std::bad_alloc&) {
        return kAudio_MemFullError;
    } catch (const std::system_error& error) {
        return RecordingError(error.code().value(), "").status();
    }
}

}  // namespace

class ExtAudioFile {
  public:
    ExtAudioFile(const std::filesystem::path& place, const AudioStreamBasicDescription& format,
                 ExtAudioFileOptions options)
        : _format{static_cast<std::uint32_t>(std::lround(format.mSampleRate)), format.mChannelsPerFrame,
                  bitsOf(format.mFormatFlags)},
          _options(std::move(options)),
          _file(std::make_unique<LosslessFile>(place, _format, _options.beforeWrite)) {
        _report.path = place;
        _report.sampleRate = format.mSampleRate;
    }

    void setClientFormat(const AudioStreamBasicDescription& format) { _clientFormat = format; }

    OSStatus prime() {
        if (_clientFormat.mFormatID == 0 || _file == nullptr) return kExtAudioFileError_InvalidOperationOrder;
        _writer = std::make_unique<RecordingWriter>(std::move(_file), _format, ringSamples(), _report, _options);
        return kNoError;
    }

    OSStatus write(std::uint32_t frames, const AudioBufferList& buffer) noexcept {
        if (_writer == nullptr) return kExtAudioFileError_InvalidOperationOrder;
        return _writer->write(frames, buffer);
    }

    void beginToEnd() {
        if (_writer != nullptr) return _writer->end();
        if (_report.isFinished) return;
        // Without sound there is nothing that takes time.
        if (_file != nullptr) _report.status = statusOf([this] { return _file->finish(), kNoError; });
        _report.isFinished = true;
        if (_options.finished) _options.finished(_report);
    }

    OSStatus end() {
        beginToEnd();
        if (_writer != nullptr) _writer->waitUntilEnded();
        return report().status;
    }

    ExtAudioFileReport report() const { return _writer != nullptr ? _writer->report() : _report; }

  private:
    std::size_t ringSamples() const {
        constexpr double kWordsForHeader = 6;
        constexpr double kShortestBlock = 64;
        const double seconds = std::chrono::duration<double>(_options.ringLength).count();
        const double wordsInFrame = _clientFormat.mChannelsPerFrame + kWordsForHeader / kShortestBlock;
        return static_cast<std::size_t>(std::ceil(seconds * _clientFormat.mSampleRate * wordsInFrame + 1));
    }

    const LosslessFormat _format;
    const ExtAudioFileOptions _options;
    std::unique_ptr<LosslessFile> _file;  // until the writing thread has it
    ExtAudioFileReport _report;           // until then
    AudioStreamBasicDescription _clientFormat;
    std::unique_ptr<RecordingWriter> _writer;
};

void ExtAudioFileDeleter::operator()(ExtAudioFile* file) const {
    file->end();
    delete file;
}

OSStatus ExtAudioFileCreateWithURL(const std::filesystem::path& path, AudioFileTypeID type,
                                   const AudioStreamBasicDescription& format, std::uint32_t flags,
                                   ExtAudioFileRef& file, ExtAudioFileOptions options) {
    if (type != kAudioFileM4AType) return kAudioFileUnsupportedFileTypeError;
    if (!isLossless(format)) return kAudioFileUnsupportedDataFormatError;
    return statusOf([&] {
        loadLibav();
        // What libav would say to a terminal comes with the errors.
        av_log_set_level(AV_LOG_QUIET);
        const auto place = placeOf(path);
        std::error_code error;
        if ((flags & kAudioFileFlags_EraseFile) == 0 && std::filesystem::exists(place, error))
            return kAudioFilePermissionsError;
        file.reset();
        file.reset(new ExtAudioFile(place, format, std::move(options)));
        return kNoError;
    });
}

OSStatus ExtAudioFileSetProperty(ExtAudioFile* file, ExtAudioFilePropertyID property, std::uint32_t size,
                                 const void* data) {
    if (file == nullptr) return kAudioFileNotOpenError;
    if (property != kExtAudioFileProperty_ClientDataFormat) return kExtAudioFileError_InvalidProperty;
    AudioStreamBasicDescription format;
    if (size != sizeof format || data == nullptr) return kExtAudioFileError_InvalidPropertySize;
    std::memcpy(&format, data, sizeof format);
    if (!isSeparateFloat(format)) return kExtAudioFileError_NonPCMClientFormat;
    file->setClientFormat(format);
    return kNoError;
}

OSStatus ExtAudioFileWriteAsync(ExtAudioFile* file, std::uint32_t frames, const AudioBufferList* buffer) noexcept {
    if (file == nullptr) return kAudioFileNotOpenError;
    if (frames == 0 && buffer == nullptr) return statusOf([file] { return file->prime(); });
    if (buffer == nullptr || buffer->channels.empty() || buffer->channels.size() > kMostChannels ||
        !(buffer->sampleRate >= 1 && buffer->sampleRate <= kHighestRate))
        return kAudio_ParamError;
    return frames == 0 ? kNoError : file->write(frames, *buffer);
}

OSStatus ExtAudioFileBeginDispose(ExtAudioFile* file) {
    if (file == nullptr) return kAudioFileNotOpenError;
    file->beginToEnd();
    return kNoError;
}

OSStatus ExtAudioFileDispose(ExtAudioFileRef& file) {
    if (file == nullptr) return kAudioFileNotOpenError;
    const OSStatus status = file->end();
    file.reset();
    return status;
}

ExtAudioFileReport ExtAudioFileGetReport(const ExtAudioFile* file) {
    return file == nullptr ? ExtAudioFileReport{} : file->report();
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/File/RecordingError.h"

#include "Platform/Audio/File/AudioFileTypes.h"
#include "Platform/Audio/File/Libav.h"

#include <array>
#include <cerrno>
#include <system_error>

namespace zelvane {

RecordingError::RecordingError(int number, const std::string& what)
    : std::runtime_error(what + ": " + std::generic_category().message(number)), _number(number) {}

RecordingError RecordingError::last(const std::string& what) {
    return {errno, what};
}

RecordingError RecordingError::ofLibav(int result, const std::string& what) {
    // Its own errors are numbers far beyond the system's.
    constexpr int kLargestOfSystem = 4095;
    if (-result <= kLargestOfSystem) return {-result, what};
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(result, text.data(), text.size());
    return {EPROTO, what + " (" + text.data() + ")"};
}

OSStatus RecordingError::status() const {
    switch (_number) {
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return kAudioFileDiskFullError;
        case EIO:
            return kAudioFileIOError;
        case EACCES:
        case EPERM:
        case EROFS:
        case EISDIR:
        case EEXIST:
            return kAudioFilePermissionsError;
        case ENOENT:
        case ENOTDIR:
            return kAudioFileFileNotFoundError;
        case ENOMEM:
            return kAudio_MemFullError;
        default:
            return kAudioFileUnspecifiedError;
    }
}

int checkLibav(int result, const char* what) {
    if (result < 0) throw RecordingError::ofLibav(result, what);
    return result;
}

}  // namespace zelvane

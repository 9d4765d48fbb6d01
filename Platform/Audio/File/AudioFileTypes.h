// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/AudioTypes.h"

namespace zelvane {

using AudioFileTypeID = std::uint32_t;
inline constexpr AudioFileTypeID kAudioFileM4AType = 0x6D346166;  // 'm4af'

inline constexpr std::uint32_t kAudioFileFlags_EraseFile = 1;

using ExtAudioFilePropertyID = std::uint32_t;
inline constexpr ExtAudioFilePropertyID kExtAudioFileProperty_ClientDataFormat = 0x63666D74;  // 'cfmt'

// How many bits a sample had before it was packed: the format flags of Apple Lossless.
inline constexpr std::uint32_t kAppleLosslessFormatFlag_16BitSourceData = 1;
inline constexpr std::uint32_t kAppleLosslessFormatFlag_20BitSourceData = 2;
inline constexpr std::uint32_t kAppleLosslessFormatFlag_24BitSourceData = 3;
inline constexpr std::uint32_t kAppleLosslessFormatFlag_32BitSourceData = 4;

inline constexpr OSStatus kAudio_MemFullError = -108;
inline constexpr OSStatus kAudioFileDiskFullError = -34;
inline constexpr OSStatus kAudioFileIOError = -36;
inline constexpr OSStatus kAudioFileNotOpenError = -38;
inline constexpr OSStatus kAudioFileFileNotFoundError = -43;
inline constexpr OSStatus kAudioFileUnspecifiedError = 0x7768743F;            // 'wht?'
inline constexpr OSStatus kAudioFileUnsupportedFileTypeError = 0x7479703F;    // 'typ?'
inline constexpr OSStatus kAudioFileUnsupportedDataFormatError = 0x666D743F;  // 'fmt?'
inline constexpr OSStatus kAudioFilePermissionsError = 0x70726D3F;            // 'prm?'
inline constexpr OSStatus kExtAudioFileError_InvalidProperty = -66561;
inline constexpr OSStatus kExtAudioFileError_InvalidPropertySize = -66562;
inline constexpr OSStatus kExtAudioFileError_NonPCMClientFormat = -66563;
inline constexpr OSStatus kExtAudioFileError_InvalidOperationOrder = -66565;
inline constexpr OSStatus kExtAudioFileError_AsyncWriteBufferOverflow = -66570;

}  // namespace zelvane

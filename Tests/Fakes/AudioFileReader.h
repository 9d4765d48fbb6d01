// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

/// The samples of a file, all channels of a frame beside each other, as `ffmpeg` decodes them: integers of 32 bits, of
/// which the file's are the upper ones. None when it finds anything wrong with the file.
std::optional<std::vector<std::int32_t>> decodeAudioFile(const std::filesystem::path& file);

/// What `ffprobe` says about the file and its first stream, "NAME" to "VALUE"; tags are "TAG:NAME". Empty when it can't
/// open the file.
std::map<std::string, std::string> probeAudioFile(const std::filesystem::path& file);

/// One of the boxes that an MP4 file consists of.
struct FileBox {
    std::string type;
    std::size_t place = 0;
    std::size_t size = 0;
};

/// In their order.
std::vector<FileBox> boxesOfFile(const std::filesystem::path& file);

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/AudioFileReader.h"

#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <cstring>
#include <sstream>

namespace zelvane {

std::optional<std::vector<std::int32_t>> decodeAudioFile(const std::filesystem::path& file) {
    const TemporaryFolder folder;
    const auto output = folder.path / "samples";
    const std::vector<std::string> command{"ffmpeg",  "-v", "error", "-nostdin", "-xerror", "-err_detect",
                                           "explode", "-i", file,    "-f",       "s32le",   "-"};
    if (!ChildProcess::run(command, {}, output)) return std::nullopt;
    const std::string bytes = TemporaryFolder::read(output);
    std::vector<std::int32_t> samples(bytes.size() / sizeof(std::int32_t));
    if (!samples.empty()) std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(std::int32_t));
    return samples;
}

std::map<std::string, std::string> probeAudioFile(const std::filesystem::path& file) {
    const TemporaryFolder folder;
    const auto output = folder.path / "lines";
    std::map<std::string, std::string> values;
    if (!ChildProcess::run(
            {"ffprobe", "-v", "error", "-show_format", "-show_streams", "-of", "default=noprint_wrappers=1", file}, {},
            output))
        return values;
    std::istringstream lines(TemporaryFolder::read(output));
    for (std::string line; std::getline(lines, line);) {
        const auto equals = line.find('=');
        if (equals != std::string::npos) values.try_emplace(line.substr(0, equals), line.substr(equals + 1));
    }
    return values;
}

std::vector<FileBox> boxesOfFile(const std::filesystem::path& file) {
    const std::string bytes = TemporaryFolder::read(file);
    std::vector<FileBox> boxes;
    for (std::size_t place = 0; place + 8 <= bytes.size();) {
        std::size_t size = 0;
        for (std::size_t i = 0; i < 4; ++i) size = size << 8U | static_cast<unsigned char>(bytes[place + i]);
        boxes.push_back({bytes.substr(place + 4, 4), place, size});
        if (size < 8) break;
        place += size;
    }
    return boxes;
}

}  // namespace zelvane

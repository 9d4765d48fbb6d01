// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/SoundFont/SoundFontFile.h"

#include "Platform/Audio/Instruments/SoundFont/FluidSynthLog.h"

#include <fluidsynth.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <string_view>
#include <system_error>
#include <vector>

namespace zelvane {

namespace {

using std::filesystem::path;

constexpr std::array kSubfolders{"sounds/sf2", "soundfonts"};
constexpr std::array kPreferredNames{"default-GM.sf2", "default-GM.sf3", "TimGM6mb.sf2"};

std::vector<path> fontFolders(std::span<const path> dataFolders) {
    std::vector<path> folders;
    for (const path& folder : dataFolders)
        for (const char* subfolder : kSubfolders) folders.push_back(folder / subfolder);
    return folders;
}

std::vector<path> sortedFonts(const path& folder) {
    std::vector<path> fonts;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().extension() == ".sf2") fonts.push_back(entry->path());
    }
    std::sort(fonts.begin(), fonts.end());
    return fonts;
}

/// FluidSynth passes what it doesn't know on to a reader of many other formats, which takes damaged files badly.
bool hasSoundFontHeader(const path& file) {
    std::array<char, 12> header{};
    std::ifstream(file, std::ios::binary).read(header.data(), header.size());
    const std::string_view text(header.data(), header.size());
    return text.starts_with("RIFF") && text.ends_with("sfbk");
}

}  // namespace

bool isSoundFont(const path& file) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) return false;
    const FluidSynthSilence silence;
    return hasSoundFontHeader(file) && fluid_is_soundfont(file.c_str()) != 0;
}

std::optional<path> findSoundFont(std::span<const path> dataFolders) {
    const std::vector<path> folders = fontFolders(dataFolders);
    for (const char* name : kPreferredNames)
        for (const path& folder : folders)
            if (isSoundFont(folder / name)) return folder / name;
    for (const path& folder : folders)
        for (const path& font : sortedFonts(folder))
            if (isSoundFont(font)) return font;
    return std::nullopt;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/SoundFont/SoundFontFile.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontInstrument.h"
#include "Tests/Audio/InstrumentPlayer.h"
#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Fakes/TinySoundFont.h"

#include <filesystem>

namespace zelvane {

inline std::shared_ptr<SoundFontBank> loadedBank(const std::filesystem::path& file) {
    Error error;
    auto bank = SoundFontBank::load(file, error);
    EXPECT_NE(bank, nullptr) << error.description;
    return bank;
}

/// The General MIDI font that the tests need installed.
inline std::shared_ptr<SoundFontBank> generalMIDIBank() {
    const std::vector<std::filesystem::path> folders{"/usr/share", "/usr/local/share"};
    return loadedBank(findSoundFont(folders).value_or("timgm6mb-soundfont is not installed"));
}

/// The font whose sound is known, in a file of its own.
struct TinyFont {
    TemporaryFolder folder;
    std::filesystem::path file = folder.path / "tiny.sf2";
    TinyFont() { writeTinySoundFont(file); }
    std::shared_ptr<SoundFontBank> bank() const { return loadedBank(file); }
};

struct SoundFontPlayer : InstrumentPlayer<SoundFontInstrument> {
    explicit SoundFontPlayer(std::shared_ptr<SoundFontBank> bank, double sampleRate = 48000)
        : InstrumentPlayer(std::make_unique<SoundFontInstrument>(std::move(bank)), sampleRate, 2048) {}
};

}  // namespace zelvane

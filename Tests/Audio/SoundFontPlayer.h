// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/SoundFont/SoundFontFile.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontInstrument.h"
#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Fakes/TinySoundFont.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

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

/// Plays an instrument block by block as a graph does: events are given by frame and handed in until they are taken.
class SoundFontPlayer {
  public:
    explicit SoundFontPlayer(std::shared_ptr<SoundFontBank> bank, double sampleRate = 48000)
        : instrument(std::move(bank)), rate(sampleRate) {
        EXPECT_EQ(instrument.prepare(sampleRate, 2048), kNoError);
    }

    void at(std::uint64_t frame, int status, int data1, int data2 = 0) {
        _waiting.push_back({frame,
                            {0, static_cast<std::uint8_t>(status), static_cast<std::uint8_t>(data1),
                             static_cast<std::uint8_t>(data2)}});
    }
    void now(int status, int data1, int data2 = 0) { at(_now, status, data1, data2); }
    void bend(int value) {
        for (int channel = 0; channel < 16; ++channel) now(0xE0 | channel, value & 127, value >> 7);
    }

    /// Renders and returns the left channel.
    std::vector<float> render(std::size_t frames, std::uint32_t blockFrames = 512) {
        std::vector<float> sound(frames);
        for (std::size_t done = 0; done < frames;) {
            const auto count = static_cast<std::uint32_t>(std::min<std::size_t>(blockFrames, frames - done));
            renderBlock(sound.data() + done, count);
            done += count;
        }
        return sound;
    }
    std::vector<float> renderSeconds(double seconds) { return render(static_cast<std::size_t>(seconds * rate)); }

    /// One block into a buffer that holds zeros; whether anything sounded.
    bool renderBlock(float* left, std::uint32_t frames) {
        std::vector<TimedMIDI> events;
        for (const Waiting& waiting : _waiting) {
            if (waiting.frame >= _now + frames + instrument.lookahead()) break;
            events.push_back(waiting.message);
            events.back().offset = static_cast<std::uint32_t>(std::max(waiting.frame, _now) - _now);
        }
        _right.assign(frames, 0);
        const RenderResult result = instrument.render(events, left, _right.data(), frames);
        _waiting.erase(_waiting.begin(), _waiting.begin() + static_cast<std::ptrdiff_t>(result.eventsTaken));
        _now += frames;
        return !result.isSilent;
    }

    bool isSilent(std::uint32_t frames = 512) {
        std::vector<float> left(frames);
        return !renderBlock(left.data(), frames);
    }

    SoundFontInstrument instrument;
    const double rate;

  private:
    struct Waiting {
        std::uint64_t frame;
        TimedMIDI message;
    };

    std::vector<Waiting> _waiting;
    std::vector<float> _right;
    std::uint64_t _now = 0;
};

}  // namespace zelvane

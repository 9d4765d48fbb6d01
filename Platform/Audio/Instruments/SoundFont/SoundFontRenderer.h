// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/SoundFont/SoundFontState.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontSynth.h"
#include "Platform/Audio/Units/Instrument.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>

namespace zelvane {

/// Renders a synth in its own chunks into blocks of any size, each event at the grid line nearest to it. When nothing
/// sounds it sleeps: it costs nothing, and the next note puts the first line of a new grid at its own frame.
///
/// Everything is for the audio thread and real-time safe, but for `replaceSynth`, which control threads may call too
/// while nothing is rendered.
class SoundFontRenderer {
  public:
    static constexpr std::uint32_t kMostStretch = 8;

    explicit SoundFontRenderer(SoundFontState& state) : _state(state) {}

    /// Takes a synth that renders one frame for `stretch` frames of ours, and gives the former one back. No sound
    /// lasts.
    std::unique_ptr<SoundFontSynth> replaceSynth(std::unique_ptr<SoundFontSynth> synth, std::uint32_t stretch) noexcept;
    SoundFontSynth* synth() const noexcept { return _synth.get(); }
    std::uint32_t stretch() const noexcept { return _stretch; }

    std::uint32_t lookahead() const noexcept { return gridFrames() / 2; }
    RenderResult render(std::span<const TimedMIDI> events, float* left, float* right, std::uint32_t frames) noexcept;

    /// Ends all sound, tails of the effects too.
    void endSound() noexcept;

  private:
    struct Block {
        std::span<const TimedMIDI> events;
        float* left;
        float* right;
        std::uint32_t frames;
        std::uint32_t position = 0;
        std::size_t taken = 0;
        bool hasSound = false;

        void fillSilence(std::uint32_t until) noexcept;
    };

    std::uint32_t gridFrames() const noexcept { return SoundFontSynth::kChunkFrames * _stretch; }
    void sleepThrough(Block& block) noexcept;
    void beginChunk(Block& block) noexcept;
    void playDueEvents(Block& block) noexcept;
    void renderChunk() noexcept;
    void stretchChunk() noexcept;
    void deliver(Block& block) noexcept;
    bool isFinished() noexcept;
    void fallAsleep() noexcept;

    static constexpr std::size_t kMostGridFrames = SoundFontSynth::kChunkFrames * kMostStretch;

    SoundFontState& _state;
    std::unique_ptr<SoundFontSynth> _synth;
    std::uint32_t _stretch = 1;
    bool _isAsleep = true;
    std::uint32_t _held = 0;  // frames of the current chunk that no block took yet
    std::uint32_t _quietChunks = 0;
    int _voices = 0;
    float _lastLeft = 0;
    float _lastRight = 0;
    alignas(64) std::array<float, kMostGridFrames> _left{};
    alignas(64) std::array<float, kMostGridFrames> _right{};
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/SoundFont/SoundFontRenderer.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zelvane {

namespace {

constexpr float kInaudible = 1e-6F;
constexpr std::uint32_t kQuietChunksToSleep = 750;  // half a second at 96 kHz, a second at 48 kHz

// FluidSynth passes what events change from its front to its voices through a queue that is emptied once a chunk, and
// has as many spare voices as voices. What does not fit is lost, note-offs too: so a chunk takes events up to a cost,
// and the rest of a flood comes one chunk (1.3 ms) later.
constexpr int kMostCost = SoundFontSynth::kPolyphony * 60;
constexpr int kNoteCost = 128;

int cost(const TimedMIDI& event, int voices) {
    switch (event.status & 0xF0) {
        case 0x90:
            return kNoteCost;
        case 0xB0:
            return event.data1 >= 120 ? 24 * voices : 4 * voices;
        case 0xC0:
            return 0;
        default:
            return 2 * voices;
    }
}

float peak(std::span<const float> samples) {
    float most = 0;
    for (const float sample : samples) most = std::max(most, std::fabs(sample));
    return most;
}

}  // namespace

std::unique_ptr<SoundFontSynth> SoundFontRenderer::replaceSynth(std::unique_ptr<SoundFontSynth> synth,
                                                                std::uint32_t stretch) noexcept {
    std::swap(_synth, synth);
    _stretch = stretch;
    fallAsleep();
    return synth;
}

void SoundFontRenderer::fallAsleep() noexcept {
    _isAsleep = true;
    _held = 0;
    _quietChunks = 0;
    _voices = 0;
    _lastLeft = _lastRight = 0;
}

void SoundFontRenderer::endSound() noexcept {
    if (_state.hasEffects()) {
        _synth->reset();
        _state.sendTo(*_synth);
    } else if (!_isAsleep) {
        _synth->endVoices();
    }
    fallAsleep();
}

RenderResult SoundFontRenderer::render(std::span<const TimedMIDI> events, float* left, float* right,
                                       std::uint32_t frames) noexcept {
    Block block{.events = events, .left = left, .right = right, .frames = frames};
    while (block.position < frames) {
        if (_held > 0) {
            deliver(block);
        } else if (_isAsleep) {
            sleepThrough(block);
        } else if (isFinished()) {
            fallAsleep();
        } else {
            beginChunk(block);
        }
    }
    return {block.taken, !block.hasSound};
}

void SoundFontRenderer::sleepThrough(Block& block) noexcept {
    while (block.taken < block.events.size() && block.events[block.taken].offset < block.frames) {
        const TimedMIDI& event = block.events[block.taken];
        if (isNoteOn(event)) {
            block.fillSilence(std::max(block.position, event.offset));
            _isAsleep = false;
            return beginChunk(block);
        }
        _state.play(event, *_synth);
        ++block.taken;
    }
    if (block.hasSound) block.fillSilence(block.frames);
    block.position = block.frames;
}

void SoundFontRenderer::beginChunk(Block& block) noexcept {
    playDueEvents(block);
    renderChunk();
}

void SoundFontRenderer::playDueEvents(Block& block) noexcept {
    const std::uint32_t nearest = block.position + lookahead();
    int spent = 0;
    int voices = _voices;
    while (block.taken < block.events.size() && block.events[block.taken].offset < nearest) {
        const TimedMIDI& event = block.events[block.taken];
        spent += cost(event, voices);
        if (spent > kMostCost) return;
        if (isNoteOn(event)) voices = std::min(voices + 4, SoundFontSynth::kPolyphony);
        _state.play(event, *_synth);
        ++block.taken;
    }
}

void SoundFontRenderer::renderChunk() noexcept {
    _state.sendParameters(*_synth);
    _synth->render(_left.data(), _right.data());
    _held = gridFrames();
    if (_stretch > 1) stretchChunk();
}

// From the last frame backwards, so that no frame is overwritten before it is read. Straight lines between frames of 88
// kHz and more add nothing that can be heard.
void SoundFontRenderer::stretchChunk() noexcept {
    const auto stretched = [this](std::array<float, kMostGridFrames>& samples, float& last) {
        const float newLast = samples[SoundFontSynth::kChunkFrames - 1];
        for (std::size_t frame = SoundFontSynth::kChunkFrames; frame-- > 0;) {
            const float to = samples[frame];
            const float from = frame > 0 ? samples[frame - 1] : last;
            for (std::size_t step = 1; step <= _stretch; ++step)
                samples[frame * _stretch + step - 1] =
                    from + (to - from) * static_cast<float>(step) / static_cast<float>(_stretch);
        }
        last = newLast;
    };
    stretched(_left, _lastLeft);
    stretched(_right, _lastRight);
}

void SoundFontRenderer::deliver(Block& block) noexcept {
    const std::uint32_t count = std::min(_held, block.frames - block.position);
    const std::uint32_t from = gridFrames() - _held;
    std::copy_n(_left.data() + from, count, block.left + block.position);
    std::copy_n(_right.data() + from, count, block.right + block.position);
    block.position += count;
    block.hasSound = true;
    _held -= count;
}

// Reverb and chorus never fall quite silent by themselves.
bool SoundFontRenderer::isFinished() noexcept {
    _voices = _synth->activeVoices();
    if (_voices > 0) {
        _quietChunks = 0;
        return false;
    }
    if (!_state.hasEffects()) return true;
    const bool isQuiet =
        peak({_left.data(), gridFrames()}) < kInaudible && peak({_right.data(), gridFrames()}) < kInaudible;
    _quietChunks = isQuiet ? _quietChunks + 1 : 0;
    return _quietChunks > kQuietChunksToSleep;
}

void SoundFontRenderer::Block::fillSilence(std::uint32_t until) noexcept {
    std::fill(left + position, left + until, 0.0F);
    std::fill(right + position, right + until, 0.0F);
    position = until;
    hasSound = true;
}

}  // namespace zelvane

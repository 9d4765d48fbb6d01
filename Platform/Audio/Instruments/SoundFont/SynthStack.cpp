// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/SoundFont/SynthStack.h"

#include "Platform/Audio/Instruments/SoundFont/SoundFontSynth.h"

#include <utility>

namespace zelvane {

SynthStack::~SynthStack() {
    takeAll();
}

// Synths leave the stack all at once only, so that the first one can't have been away and back between the two steps.
void SynthStack::push(std::unique_ptr<SoundFontSynth> synth) noexcept {
    SoundFontSynth* const pushed = synth.release();
    SoundFontSynth* first = _first.load(std::memory_order_relaxed);
    do {
        static_cast<void>(pushed->following.release());
        pushed->following.reset(first);
    } while (!_first.compare_exchange_weak(first, pushed, std::memory_order_release, std::memory_order_relaxed));
}

std::unique_ptr<SoundFontSynth> SynthStack::takeAll() noexcept {
    if (_first.load(std::memory_order_relaxed) == nullptr) return nullptr;
    return std::unique_ptr<SoundFontSynth>(_first.exchange(nullptr, std::memory_order_acquire));
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/Zelvane.h"

namespace zelvane {

/// The keys that are played are looked up on the player thread, so the tuning changes there too.
template <typename Work>
auto Zelvane::withMidiTuning(Work work) {
    decltype(work(_midiDecoder->scala())) result{};
    _playerThread.perform([&] { result = work(_midiDecoder->scala()); }, RunLoop::Wait::yes);
    return result;
}

bool Zelvane::openKeymap(const std::optional<std::string>& path) {
    return withMidiTuning([&](ScalaController& scala) { return scala.openKeymap(path); });
}

bool Zelvane::openTuning(const std::optional<std::string>& path) {
    return withMidiTuning([&](ScalaController& scala) { return scala.openTuning(path); });
}

bool Zelvane::keymapIsChanged() {
    return withMidiTuning([](const ScalaController& scala) { return scala.keymapIsChanged(); });
}

bool Zelvane::tuningIsChanged() {
    return withMidiTuning([](const ScalaController& scala) { return scala.tuningIsChanged(); });
}

void Zelvane::setKeymapIsChanged(bool isChanged) {
    _playerThread.perform([&] { _midiDecoder->scala().setKeymapIsChanged(isChanged); }, RunLoop::Wait::yes);
}

void Zelvane::setTuningIsChanged(bool isChanged) {
    setKeymapIsChanged(isChanged);
}

void Zelvane::restoreKeymap() {
    _playerThread.perform([&] { _midiDecoder->scala().restoreKeymap(); }, RunLoop::Wait::yes);
}

void Zelvane::restoreTuningMap() {
    _playerThread.perform([&] { _midiDecoder->scala().restoreTuningMap(); }, RunLoop::Wait::yes);
}

void Zelvane::updateMicromidiMap() {
    _playerThread.perform([&] { _midiDecoder->scala().updateMicromidiMap(); }, RunLoop::Wait::yes);
}

std::unique_ptr<ScalaController> Zelvane::midiTuning() {
    return withMidiTuning([](const ScalaController& scala) { return std::make_unique<ScalaController>(scala); });
}

void Zelvane::restoreMidiTuning() {
    const auto keymap = _defaults.string("keymap");
    const auto tuning = _defaults.string("tuning");
    const auto restore = [&] {
        ScalaController& scala = _midiDecoder->scala();
        if (keymap) scala.setKeymapIsChanged(scala.openKeymap(keymap));
        if (tuning) scala.setTuningIsChanged(scala.openTuning(tuning));
        scala.updateMicromidiMap();
    };
    _playerThread.perform(restore, RunLoop::Wait::yes);
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Error.h"
#include "Platform/Foundation/Log.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaController.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaText.h"

#include <algorithm>
#include <limits>

namespace zelvane {

namespace {

// A mapping may go on past the 128 keys of MIDI, but not until its last key, two billion, fills the memory.
constexpr std::int64_t kLargestTable = 1024;

}  // namespace

void ScalaController::updateMicromidiMap() {
    if (!_keymapIsChanged && !_tuningIsChanged) return;
    try {
        buildMicromidiMap();
    } catch (const RangeError& error) {
        Log::write("ScalaController: [%@] unable to build the key table: %@", {"updateMicromidiMap", error.what()});
    }
}

void ScalaController::buildMicromidiMap() {
    if (_keyMapLength == 0) throw RangeError("the keyboard mapping has a map size of 0");
    const float base = baseOffset();
    IntervalValues known;
    for (std::int64_t key = _firstMidi; key <= _lastMidi; ++key) setMicromidi(key, pitchOfKey(key, base, known));

    const float transposition = getTransposition();
    for (std::int64_t key = _firstMidi; key <= _lastMidi; ++key)
        _micromidiMap[static_cast<std::size_t>(key)] = transposition + _micromidiMap[static_cast<std::size_t>(key)];
    _tuningIsChanged = false;
    _keymapIsChanged = false;
}

std::uint32_t ScalaController::mapMidiKey(std::uint32_t key) const {
    if (key >= _micromidiMap.size()) throw RangeError("key " + std::to_string(key) + " is beyond the key table");
    return unsignedWhole(_micromidiMap[key] * 100.0F);
}

float ScalaController::getTransposition() const {
    if (_referenceMidi < 0 || _referenceMidi >= std::ssize(_micromidiMap))
        throw RangeError("the reference key " + std::to_string(_referenceMidi) + " is outside the key table");
    return static_cast<float>(_referenceMidi) -
           freqToMidi(midiToFreq(_micromidiMap[static_cast<std::size_t>(_referenceMidi)]));
}

/// Degrees, counted as semitones, of the whole mapping periods up to the middle key, a begun one included.
float ScalaController::baseOffset() const {
    const std::int64_t periods = std::int64_t{_startMidi} / _keyMapLength;
    const bool isBegun = std::int64_t{_startMidi} % _keyMapLength > 0;
    return static_cast<float>((isBegun ? periods + 1 : periods) * _tuningMapLength);
}

float ScalaController::pitchOfKey(std::int64_t key, float base, IntervalValues& known) const {
    const std::int32_t degree = degreeOfKey(key);
    // Degree 0 is the period itself, one period down by what periodOffset takes away.
    const std::int64_t index = degree >= 1 ? std::int64_t{degree} - 1 : std::int64_t{_tuningMapLength} + degree - 1;
    const float interval = intervalValue(index, known);
    const float offset = periodOffset(key, intervalValue(std::int64_t{_tuningMapLength} - 1, known));
    return (interval + base) + offset;
}

std::int32_t ScalaController::degreeOfKey(std::int64_t key) const {
    if (_octave == 0.0F) return static_cast<std::int32_t>(key);
    std::int64_t index = (key - _startMidi) % _keyMapLength;
    if (index < 0) index += _keyMapLength;
    if (index < 0 || index >= std::ssize(_keyMap))
        throw RangeError("the keyboard mapping has no entry " + std::to_string(index) + " for key " +
                         std::to_string(key));
    // A degree of more than 32 bits stays beyond every scale.
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(_keyMap[static_cast<std::size_t>(index)], Limits::min(), Limits::max()));
}

/// Semitones of the whole periods between the middle key and this one.
float ScalaController::periodOffset(std::int64_t key, float period) const {
    const std::int64_t distance = key - _startMidi;
    // The last key of a period, which plays the period itself, still belongs to the one below.
    const bool isWithin = (distance - 1) % _keyMapLength > 0;
    const std::int64_t steps = isWithin ? distance - 1 : distance;
    const std::int64_t periods = steps / _keyMapLength;
    const float offset = period * static_cast<float>(periods);
    return steps <= 0 ? offset - period : offset;
}

std::string_view ScalaController::interval(std::int64_t index) const {
    if (index < 0 || index >= _tuningMapLength)
        throw RangeError("interval " + std::to_string(index + 1) + " is not in the scale of " +
                         std::to_string(_tuningMapLength));
    if (index >= std::ssize(_tuningMap)) return "0.000000";
    return _tuningMap[static_cast<std::size_t>(index)];
}

/// Each interval is worked out once in a build: one line may be as long as a file.
float ScalaController::intervalValue(std::int64_t index, IntervalValues& known) const {
    const auto [entry, isNew] = known.try_emplace(index);
    if (isNew) entry->second = calculateTuningCents(interval(index));
    return entry->second;
}

/// Replaces an entry or adds the one that follows the last.
void ScalaController::setMicromidi(std::int64_t key, float pitch) {
    if (key < 0 || key > std::ssize(_micromidiMap) || key >= kLargestTable)
        throw RangeError("key " + std::to_string(key) + " is outside the key table");
    const auto index = static_cast<std::size_t>(key);
    if (index == _micromidiMap.size()) _micromidiMap.emplace_back();
    _micromidiMap[index] = pitch;
}

}  // namespace zelvane

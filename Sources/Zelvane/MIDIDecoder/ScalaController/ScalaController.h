// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Error.h"
#include "Platform/Foundation/UserDefaults.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvane {

/// The current tuning: a scale, a keyboard mapping, and the table made of both that turns a MIDI key into a midic.
/// Intervals are semitones throughout, also those that a file writes with a decimal point. Loading a file or restoring
/// a default never rebuilds the table: set a flag, then call `updateMicromidiMap`. One thread at a time; not real-time
/// safe.
class ScalaController {
  public:
    /// Shows an error to the user and returns when it has been shown.
    using ErrorPresenter = std::function<void(const Error&)>;

    /// The default scale and mapping; the table holds each key's own number until it is first built. The defaults must
    /// outlive this object.
    ScalaController(const UserDefaults& userDefaults, ErrorPresenter presentError);

    /// Reads a .scl file; an empty path or the registered default of "tuning" means the default scale. False, with the
    /// user and the log told why, when the file is refused: what had been read of it by then stays. False for no path.
    bool openTuning(const std::optional<std::string>& path);
    /// Takes a scale from the text of a .scl file, which `path` names in messages. False as above.
    bool readTuning(std::string_view text, const std::string& path);
    /// Twelve equal semitones. The description stays.
    void restoreTuningMap();

    /// Reads a .kbm file; an empty path or the registered default of "keymap" means the default mapping. False as
    /// above.
    bool openKeymap(const std::optional<std::string>& path);
    /// Takes a keyboard mapping from the text of a .kbm file, which `path` names in messages. False as above.
    bool readKeymap(std::string_view text, const std::string& path);
    /// Twelve keys a period from key 0, all keys retuned, A4 at 440 Hz.
    void restoreKeymap();

    /// The flags that tell that the table is out of date. A build that succeeds clears both.
    bool keymapIsChanged() const { return _keymapIsChanged; }
    void setKeymapIsChanged(bool isChanged) { _keymapIsChanged = isChanged; }
    bool tuningIsChanged() const { return _tuningIsChanged; }
    void setTuningIsChanged(bool isChanged) { _tuningIsChanged = isChanged; }

    /// Builds the table if a flag is set. A scale and mapping that give none are logged: the keys before the offending
    /// one keep their new entries and the flags stay set.
    void updateMicromidiMap();
    /// Builds the table in any case. Throws RangeError, which says what is wrong, in place of logging it.
    void buildMicromidiMap();

    /// The pitch of a key in midics, cut to a whole number, 0 for one below zero. Throws RangeError beyond the table.
    std::uint32_t mapMidiKey(std::uint32_t key) const;

    /// The semitones of an interval as a file writes it: a decimal number is taken as it is, "3/2" is a ratio. Throws
    /// RangeError for a text with neither point nor slash.
    float calculateTuningCents(std::string_view text) const;
    /// The semitones of a frequency ratio, shifted by what the reference frequency is off 440 Hz at key 69.
    float ratioToCents(float ratio) const;
    /// The inverse of `ratioToCents`.
    float centsToRatio(float cents) const;
    /// The frequency in Hz of a key, through the reference, and the key of a frequency.
    float midiToFreq(float midi) const;
    float freqToMidi(float frequency) const;
    /// The semitones that bring the reference key back to its own number. Throws RangeError when it has no entry.
    float getTransposition() const;

    /// The description line of the last scale that was read, also of one that was refused later on.
    const std::string& description() const { return _description; }
    /// How many intervals the scale declares; entries of `tuningMap` beyond that are never used.
    std::int32_t tuningMapLength() const { return _tuningMapLength; }
    /// The intervals as the file writes them. Declared ones that the file left out are not listed and count as 0.
    const std::vector<std::string>& tuningMap() const { return _tuningMap; }
    /// How many keys a period of the mapping declares, and the scale degrees listed for them, extra ones included.
    std::int32_t keyMapLength() const { return _keyMapLength; }
    const std::vector<std::int64_t>& keyMap() const { return _keyMap; }
    /// The table: the semitones of each key.
    const std::vector<float>& micromidiMap() const { return _micromidiMap; }

  private:
    using IntervalValues = std::map<std::int64_t, float>;

    bool isRegisteredDefault(const char* key, const std::string& path) const;
    bool refuse(const Error& error, std::string_view logText, const std::vector<std::string>& logArguments) const;
    bool refuseShortTuning(const std::string& path, std::int64_t state) const;
    bool refuseShortKeymap(const std::string& path, std::int64_t state) const;

    float baseOffset() const;
    std::int32_t degreeOfKey(std::int64_t key) const;
    std::string_view interval(std::int64_t index) const;
    float intervalValue(std::int64_t index, IntervalValues& known) const;
    float periodOffset(std::int64_t key, float period) const;
    float pitchOfKey(std::int64_t key, float base, IntervalValues& known) const;
    void setMicromidi(std::int64_t key, float pitch);

    std::vector<std::int64_t> _keyMap;
    std::vector<std::string> _tuningMap;
    std::vector<float> _micromidiMap;
    std::string _description;
    std::int32_t _keyMapLength = 0;
    std::int32_t _firstMidi = 0;
    std::int32_t _lastMidi = 0;
    std::int32_t _referenceMidi = 0;
    std::int32_t _startMidi = 0;
    std::int32_t _tuningMapLength = 0;
    float _referenceFrequency = 0;
    float _octave = 0;
    bool _keymapIsChanged = false;
    bool _tuningIsChanged = false;

    const UserDefaults& _userDefaults;
    const ErrorPresenter _presentError;
};

}  // namespace zelvane

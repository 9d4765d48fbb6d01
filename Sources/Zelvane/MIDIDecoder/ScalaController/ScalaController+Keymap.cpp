// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"
#include "Platform/Foundation/TextFile.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaController.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaText.h"

#include <algorithm>
#include <iterator>
#include <numeric>

namespace zelvane {

namespace {

constexpr auto kDomain = "MIDIKeyboardConfiguration";
constexpr auto kSelector = "openKeymap:";
constexpr std::ptrdiff_t kParameters = 7;

}  // namespace

void ScalaController::restoreKeymap() {
    _keyMapLength = 12;
    _firstMidi = 0;
    _lastMidi = 127;
    _startMidi = 0;
    _referenceMidi = 69;
    _referenceFrequency = 440.0F;
    _octave = 12.0F;
    _keyMap.resize(12);
    std::iota(_keyMap.begin(), _keyMap.end(), 0);
}

bool ScalaController::openKeymap(const std::optional<std::string>& path) {
    if (!path) return false;
    if (path->empty() || isRegisteredDefault("keymap", *path)) {
        restoreKeymap();
        return true;
    }
    if (!isFileName(*path))
        return refuse(
            {kDomain, 1, formatted(localizedString("Sorry, unable to find keyboard mapping file %@"), {*path})},
            "ScalaController: [%@] unable to find keyboard mapping file %@", {kSelector, *path});
    std::string reason;
    const auto text = readTextFile(*path, reason);
    if (!text) {
        const auto alert = localizedString("Sorry, reading keyboard mapping file %@ reported error \"%@\"");
        return refuse({kDomain, 2, formatted(alert, {*path, reason})},
                      "ScalaController: [%@] reading keyboard mapping file %@ reported error \"%@\"",
                      {kSelector, *path, reason});
    }
    return readKeymap(*text, *path);
}

bool ScalaController::readKeymap(std::string_view text, const std::string& path) {
    const auto lines = parameterLines(text);
    const auto has = [&lines](std::size_t parameter) { return lines.size() >= parameter; };
    if (has(1)) _keyMapLength = intValue(lines[0]);
    if (has(1)) _keyMap.clear();
    if (has(2)) _firstMidi = intValue(lines[1]);
    if (has(3)) _lastMidi = intValue(lines[2]);
    if (has(4)) _startMidi = intValue(lines[3]);
    if (has(5)) _referenceMidi = signedWhole(floatValue(lines[4]));
    if (has(6)) _referenceFrequency = floatValue(lines[5]);
    if (!has(kParameters)) return refuseShortKeymap(path, std::ssize(lines));

    _octave = floatValue(lines[6]);
    std::transform(lines.begin() + kParameters, lines.end(), std::back_inserter(_keyMap), integerValue);
    return std::ssize(_keyMap) >= _keyMapLength || refuseShortKeymap(path, std::ssize(lines));
}

bool ScalaController::refuseShortKeymap(const std::string& path, std::int64_t state) const {
    constexpr auto kPhrase = "Not sufficient info to set up a Keymap";
    const std::string phrase = localizedString("Not sufficient info to set up a Keymap");
    if (state < kParameters) {
        const auto alert = localizedString(
            "Sorry, reading keyboard mapping file %@ reported error \"%@\"; need at least 7 parameters, found %d");
        return refuse({kDomain, 3, formatted(alert, {path, phrase, std::to_string(state)})},
                      "ScalaController: [%@] reading keyboard mapping file %@ reported error %@; need at least 7 "
                      "parameters, found %d",
                      {kSelector, path, kPhrase, std::to_string(state)});
    }
    const std::string found = std::to_string(state - kParameters);
    const auto alert =
        localizedString("Sorry, reading keyboard mapping file %@ reported error \"%@\"; need at least 1 key, found %d");
    return refuse(
        {kDomain, 4, formatted(alert, {path, phrase, found})},
        "ScalaController: [%@] reading keyboard mapping file %@ reported error %@; need at least 1 key, found %d",
        {kSelector, path, kPhrase, found});
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"
#include "Platform/Foundation/TextFile.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaController.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaText.h"

namespace zelvane {

namespace {

constexpr auto kDomain = "MIDITuningConfiguration";
constexpr auto kSelector = "openTuning:";

}  // namespace

void ScalaController::restoreTuningMap() {
    _tuningMapLength = 12;
    _tuningMap.clear();
    for (int semitones = 1; semitones <= _tuningMapLength; ++semitones)
        _tuningMap.push_back(std::to_string(semitones) + ".000000");
}

bool ScalaController::openTuning(const std::optional<std::string>& path) {
    if (!path) return false;
    if (path->empty() || isRegisteredDefault("tuning", *path)) {
        restoreTuningMap();
        return true;
    }
    if (!isFileName(*path))
        return refuse({kDomain, 1, formatted(localizedString("Sorry, unable to find tuning file %@"), {*path})},
                      "ScalaController: [%@] tuning file %@ not found", {kSelector, *path});
    std::string reason;
    const auto text = readTextFile(*path, reason);
    if (!text) {
        const auto alert = localizedString("Sorry, reading tuning file %@ reported error \"%@\"");
        return refuse({kDomain, 2, formatted(alert, {*path, reason})},
                      "ScalaController: [%@] reading tuning file %@ reported error \"%@\"", {kSelector, *path, reason});
    }
    return readTuning(*text, *path);
}

bool ScalaController::readTuning(std::string_view text, const std::string& path) {
    const auto lines = parameterLines(text);
    if (!lines.empty()) _description = lines[0];
    if (lines.size() < 2) return refuseShortTuning(path, std::ssize(lines));

    _tuningMapLength = intValue(lines[1]);
    _tuningMap.assign(lines.begin() + 2, lines.end());
    return std::ssize(_tuningMap) >= _tuningMapLength || refuseShortTuning(path, std::ssize(lines));
}

bool ScalaController::refuseShortTuning(const std::string& path, std::int64_t state) const {
    constexpr auto kPhrase = "Not sufficient info to set up a Tuning table";
    const std::string phrase = localizedString("Not sufficient info to set up a Tuning table");
    if (state < 2) {
        const auto alert = localizedString(
            "Sorry, reading tuning file %@ reported error \"%@\"; need at least 2 parameters, found %d");
        return refuse(
            {kDomain, 3, formatted(alert, {path, phrase, std::to_string(state)})},
            "ScalaController: [%@] reading tuning file %@ reported error \"%@\"; need at least 2 parameters, found %d",
            {kSelector, path, kPhrase, std::to_string(state)});
    }
    const std::string found = std::to_string(state - 7);  // five too few, the number that users know
    const auto alert =
        localizedString("Sorry, reading tuning file %@ reported error \"%@\"; need at least 1 interval, found %d");
    return refuse(
        {kDomain, 4, formatted(alert, {path, phrase, found})},
        "ScalaController: [%@] reading tuning file %@ reported error \"%@\"; need at least 1 interval, found %d",
        {kSelector, path, kPhrase, found});
}

}  // namespace zelvane

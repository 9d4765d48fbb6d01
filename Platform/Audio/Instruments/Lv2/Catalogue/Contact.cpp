// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Catalogue/Contact.h"

#include "Platform/Audio/Instruments/Lv2/Catalogue/ContactReport.h"
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"

#include <algorithm>
#include <vector>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZELVANE_RESERVES_MEMORY
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZELVANE_RESERVES_MEMORY
#endif

namespace zelvane {

namespace {

/// What the program has told so far.
struct Told {
    std::string stage;
    std::optional<std::string> refusal;
    std::optional<double> bendCents;
    bool memoryRanOut = false;
    bool isDone = false;

    void read(std::string_view line) {
        const auto word = line.substr(0, line.find(' '));
        const auto rest = line.substr(std::min(line.size(), word.size() + 1));
        if (word == contact::kStage) stage = rest;
        if (word == contact::kRefused) refusal = rest;
        if (word == contact::kBend) bendCents = doublePrefix(rest);
        if (word == contact::kMemory) memoryRanOut = true;
        if (word == contact::kDone) isDone = true;
    }
};

std::string stageInWords(const std::string& stage) {
    if (stage == contact::kMaking) return localizedString("while it was made");
    if (stage == contact::kSaving) return localizedString("while its settings were saved and restored");
    if (stage == contact::kRemoving) return localizedString("while it was removed");
    return localizedString("while it played");
}

std::string refusal(const Told& told, ProcessEnd end, const ProcessLimits& limits) {
    if (told.isDone && end.kind == ProcessEnd::Kind::exited && end.number == 0) return told.refusal.value_or("");
    // It asked for more than there was and did not get over it, in whichever way.
    if (told.memoryRanOut) end.kind = ProcessEnd::Kind::usedTooMuchMemory;
    return formatted(localizedString("It %@ %@."), {inWords(end, limits), stageInWords(told.stage)});
}

}  // namespace

ProcessLimits contactLimits() {
    ProcessLimits limits;
#ifdef ZELVANE_RESERVES_MEMORY
    limits.limitsAddressSpace = false;
#endif
    // An arena for each thread would reserve 64 MB that are never used, and count.
    limits.environment["MALLOC_ARENA_MAX"] = "2";
    // Some instruments are made with Qt, which aborts where it finds no display unless it is told not to look for one.
    limits.environment["QT_QPA_PLATFORM"] = "offscreen";
    return limits;
}

std::optional<ContactResult> tryInstrument(const std::filesystem::path& scanner, const Lv2Entry& entry,
                                           const ProcessLimits& limits, const std::stop_token& stop) {
    std::vector<std::string> command{scanner.string(), contact::kCommand, entry.uri};
    for (const auto& bundle : entry.bundles) command.push_back(bundle.string());
    Told told;
    const ProcessEnd end = runLimited(
        command, limits, [&](std::string_view line) { told.read(line); }, stop);
    if (end.kind == ProcessEnd::Kind::stopped || end.kind == ProcessEnd::Kind::notStarted) return std::nullopt;
    ContactResult result{refusal(told, end, limits), std::nullopt, end.kind == ProcessEnd::Kind::tookTooLong};
    if (result.refusal.empty()) result.bendCents = told.bendCents;
    return result;
}

}  // namespace zelvane

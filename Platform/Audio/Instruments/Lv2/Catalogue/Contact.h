// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Lv2Entry.h"
#include "Platform/Foundation/LimitedProcess.h"

#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>

namespace zelvane {

/// What came of trying an instrument.
struct ContactResult {
    std::string refusal;  ///< what went wrong, as a sentence; empty when all went well
    std::optional<double> bendCents;
    bool tookTooLong = false;  ///< which may be the fault of a busy machine
};

/// What an instrument may use while it is tried. Where the program itself reserves more memory than any machine has,
/// as under a sanitizer, only what is really used counts.
ProcessLimits contactLimits();

/// Tries an instrument with the scanner program: makes ten, plays them, saves and restores one, measures its bend. None
/// when it was stopped or the program isn't there. Any thread but the audio thread.
std::optional<ContactResult> tryInstrument(const std::filesystem::path& scanner, const Lv2Entry& entry,
                                           const ProcessLimits& limits, const std::stop_token& stop = {});

}  // namespace zelvane

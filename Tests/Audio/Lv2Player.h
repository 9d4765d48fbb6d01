// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Lv2Instrument.h"
#include "Tests/Audio/InstrumentPlayer.h"

#include <string>

namespace zelvane {

inline Lv2Entry installed(const std::string& uri, const std::string& bundle) {
    return {.uri = uri, .name = uri, .bundles = {"/usr/lib/lv2/" + bundle}, .refusal = {}, .bendCents = {}};
}

/// An instrument whose sound shows what it was told.
inline Lv2Entry probeEntry() {
    return {.uri = "urn:zelvane:probe", .name = "Probe", .bundles = {LV2_PROBE_BUNDLE}, .refusal = {}, .bendCents = {}};
}

struct Lv2Player : InstrumentPlayer<Lv2Instrument> {
    explicit Lv2Player(const Lv2Entry& entry, double sampleRate = 48000)
        : InstrumentPlayer(made(entry), sampleRate, 512) {}

    static std::unique_ptr<Lv2Instrument> made(const Lv2Entry& entry) {
        Error error;
        auto instrument = Lv2Instrument::make(entry, error);
        EXPECT_NE(instrument, nullptr) << error.description;
        return instrument;
    }
};

}  // namespace zelvane

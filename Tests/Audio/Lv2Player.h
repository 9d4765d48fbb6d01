// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Lv2Instrument.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zelvane {

inline Lv2Entry installed(const std::string& uri, const std::string& bundle) {
    return {.uri = uri, .name = uri, .bundles = {"/usr/lib/lv2/" + bundle}, .refusal = {}, .bendCents = {}};
}

/// An instrument whose sound shows what it was told.
inline Lv2Entry probeEntry() {
    return {.uri = "urn:zelvane:probe", .name = "Probe", .bundles = {LV2_PROBE_BUNDLE}, .refusal = {}, .bendCents = {}};
}

/// Plays an instrument block by block; messages are for the next block.
class Lv2Player {
  public:
    explicit Lv2Player(const Lv2Entry& entry, double sampleRate = 48000) : rate(sampleRate) {
        Error error;
        instrument = Lv2Instrument::make(entry, error);
        EXPECT_NE(instrument, nullptr) << error.description;
        if (instrument != nullptr) {
            EXPECT_EQ(instrument->prepare(sampleRate, 512), kNoError);
        }
    }

    void send(int status, int data1, int data2 = 0, std::uint32_t offset = 0) {
        _events.push_back({offset, static_cast<std::uint8_t>(status), static_cast<std::uint8_t>(data1),
                           static_cast<std::uint8_t>(data2)});
    }
    void bend(int value) {
        for (int channel = 0; channel < 16; ++channel) send(0xE0 | channel, value & 127, value >> 7);
    }

    /// One block; whether anything sounded.
    bool block(std::uint32_t frames = 512) {
        left.assign(frames, 0);
        right.assign(frames, 0);
        const RenderResult result = instrument->render(_events, left.data(), right.data(), frames);
        _events.erase(_events.begin(), _events.begin() + static_cast<std::ptrdiff_t>(result.eventsTaken));
        return !result.isSilent;
    }

    /// Some seconds of the left channel.
    std::vector<float> seconds(double seconds) {
        std::vector<float> sound;
        while (static_cast<double>(sound.size()) < seconds * rate) {
            block();
            sound.insert(sound.end(), left.begin(), left.end());
        }
        return sound;
    }

    const double rate;
    std::unique_ptr<Lv2Instrument> instrument;
    std::vector<float> left, right;

  private:
    std::vector<TimedMIDI> _events;
};

}  // namespace zelvane

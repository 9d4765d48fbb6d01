// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks/MIDI/DecodingPlayer.h"

namespace zelvane {

namespace {

constexpr double kRate = 48000;
constexpr std::uint32_t kPeriod = 256;
constexpr int kBlocksOfLatency = 40;

}  // namespace

DecodingPlayer::DecodingPlayer() {
    _engine.setIsListening(true);
    takePlayed();
}

Duration DecodingPlayer::timeOfBlock() {
    return secondsToDuration(kPeriod / kRate);
}

std::size_t DecodingPlayer::takePlayed() {
    for (int block = 0; block < kBlocksOfLatency; ++block) renderBlock();
    std::size_t count = 0;
    for (RecordingInstrument* instrument : _provider.made) {
        count += instrument->played.size();
        instrument->played.clear();
    }
    return count;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/Instrument.h"

namespace zelvane {

/// Stands for an instrument whose instance isn't in this process. It has nothing to set and plays nothing.
class SilentInstrument final : public Instrument {
  public:
    OSStatus prepare(double /*sampleRate*/, std::uint32_t /*maxFrames*/) override { return 0; }
    void silence() noexcept override {}
    std::span<const UnitParameter> parameters() const override { return {}; }
    std::span<const UnitProperty> properties() const override { return {}; }
    void setParameter(std::size_t /*index*/, float /*value*/) noexcept override {}
    RenderResult render(std::span<const TimedMIDI> events, float* /*left*/, float* /*right*/,
                        std::uint32_t /*frames*/) noexcept override {
        return {.eventsTaken = events.size(), .isSilent = true};
    }
};

}  // namespace zelvane

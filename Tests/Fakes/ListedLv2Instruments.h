// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Lv2InstrumentFactory.h"
#include "Platform/Audio/Units/AudioComponent.h"

#include <memory>
#include <utility>
#include <vector>

namespace zelvane {

/// Offers the LV2 instruments of a list, without a catalogue and without trying them first.
class ListedLv2Instruments final : public AudioComponentProvider {
  public:
    explicit ListedLv2Instruments(std::vector<Lv2Entry> entries) : _entries(std::move(entries)) {}

    std::vector<AVAudioUnitComponent> components() override {
        std::vector<AVAudioUnitComponent> all;
        for (std::uint32_t place = 0; place < _entries.size(); ++place)
            all.push_back(
                {_entries[place].name, {kAudioUnitType_MusicDevice, place + 1, 1, kAudioComponentFlag_SandboxSafe, 0}});
        return all;
    }
    std::unique_ptr<Instrument> instantiate(const AudioComponentDescription& description, Error& error) override {
        return makeLv2Instrument(_entries.at(description.componentSubType - 1), error);
    }

  private:
    const std::vector<Lv2Entry> _entries;
};

}  // namespace zelvane

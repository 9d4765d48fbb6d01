// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Lv2Entry.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Instrument.h"
#include "Platform/Foundation/Error.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace zelvane {

/// Does with an instrument all that the player will do with it, one after the other, and tells what it does before it
/// does it: whatever goes wrong may end the process. In a process of its own.
class FirstContact {
  public:
    /// Told lines of the report.
    using Report = std::function<void(const std::string& line)>;

    FirstContact(Lv2Entry entry, Report report) : _entry(std::move(entry)), _report(std::move(report)) {}

    void run();

  private:
    std::string makeUnits();
    std::string play();
    std::string saveAndRestore();
    void measureBend();

    std::unique_ptr<Lv2Instrument> make(Error& error);
    std::string renderBlock(Lv2Instrument& unit, std::span<const TimedMIDI> events);
    std::vector<float> sound(std::uint8_t key, std::uint16_t bend);

    const Lv2Entry _entry;
    const Report _report;
    std::vector<std::unique_ptr<Lv2Instrument>> _units;
    std::vector<float> _left, _right;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Catalogue/Lv2Catalogue.h"
#include "Platform/Audio/Units/AudioComponent.h"

#include <memory>
#include <optional>

namespace zelvane {

inline constexpr std::uint32_t kLv2Manufacturer = 0x4C563220;  // 'LV2 '

/// Whether an instrument that was bent so far can be tuned, up or down, by the nine tenths of a semitone that units are
/// apart.
Microtones microtonesOf(const Lv2Entry& entry);

/// Lists the LV2 instruments. Those that were refused have a reason in place of the flag "sandbox-safe".
class Lv2Provider : public AudioComponentProvider {
  public:
    explicit Lv2Provider(std::unique_ptr<Lv2Catalogue> catalogue);

    std::string installationAdvice() const override;
    std::vector<AVAudioUnitComponent> components() override;
    std::unique_ptr<Instrument> instantiate(const AudioComponentDescription& description, Error& error) override;
    bool testOutOfProcess(const AudioComponentDescription& description, Error& error) override;
    void setChangeHandler(const std::function<void()>& handler) override;

  private:
    std::optional<Lv2Entry> find(const AudioComponentDescription& description, Error& error) const;

    const std::unique_ptr<Lv2Catalogue> _catalogue;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Desktop/Editors/EditedUnit.h"

#include <QStandardItemModel>
#include <QWidget>
#include <array>
#include <cstdint>

class QComboBox;

namespace zelvane {

/// What each of the sixteen channels of a SoundFont unit plays. Main thread.
class ChannelPresets final : public QWidget {
  public:
    explicit ChannelPresets(EditedUnit& unit);

    /// Lists the presets of the unit's bank, which has changed.
    void readBank();
    /// Shows what the channels play now.
    void follow();

  private:
    void addChannel(std::size_t channel);

    static constexpr std::size_t kChannels = 16;

    EditedUnit& _unit;
    QStandardItemModel _melodic, _drumKits;  // shared by the channels' choices
    std::array<QComboBox*, kChannels> _choices{};
};

}  // namespace zelvane

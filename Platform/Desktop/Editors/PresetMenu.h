// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Desktop/Editors/EditedUnit.h"

#include <QComboBox>
#include <cstdint>
#include <string>
#include <vector>

namespace zelvane {

struct FactoryPreset {
    std::int32_t number = 0;
    std::string name;
};

/// Those of the unit, or none.
std::vector<FactoryPreset> factoryPresets(const EditedUnit& unit);

/// The choice of a unit's factory preset. Main thread.
class PresetMenu final : public QComboBox {
  public:
    explicit PresetMenu(EditedUnit& unit);

    /// Shows the preset that the unit has now.
    void follow();

  private:
    EditedUnit& _unit;
};

}  // namespace zelvane

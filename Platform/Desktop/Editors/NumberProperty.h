// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Desktop/Editors/EditedUnit.h"
#include "Platform/Desktop/Editors/ParameterControl.h"

#include <QVBoxLayout>
#include <cstdint>

namespace zelvane {

/// A property of 32 bits that holds a whole number, set like a parameter of that description. Main thread.
class NumberProperty final : public QWidget {
  public:
    NumberProperty(EditedUnit& unit, AudioUnitPropertyID id, const UnitParameter& description)
        : _unit(unit), _id(id), _control(ParameterControl::make(description, [this](float value) {
                                             _shown = static_cast<std::int32_t>(value);
                                             _unit.setProperty(_id, _shown);
                                         }).release()) {
        auto* column = new QVBoxLayout(this);
        column->setContentsMargins(0, 0, 0, 0);
        column->addWidget(_control);
        setFocusProxy(_control);
        follow();
    }

    /// Shows the property's present value.
    void follow() {
        const auto present = _unit.property<std::int32_t>(_id);
        if (!present || *present == _shown) return;
        _shown = *present;
        _control->showValue(static_cast<float>(_shown));
    }

  private:
    EditedUnit& _unit;
    const AudioUnitPropertyID _id;
    std::int32_t _shown = -1;
    ParameterControl* const _control;
};

}  // namespace zelvane

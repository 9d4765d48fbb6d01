// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/UnitParameter.h"

#include <QWidget>
#include <functional>
#include <memory>

namespace zelvane {

/// What a parameter is set by: a slider with its value, a switch, or a choice of names. Main thread.
class ParameterControl : public QWidget {
  public:
    using Edited = std::function<void(float value)>;

    /// The kind that suits the parameter; what the user does with it is told.
    static std::unique_ptr<ParameterControl> make(const UnitParameter& parameter, Edited edited);

    /// Shows a value that came from elsewhere; nobody is told.
    virtual void showValue(float value) = 0;

  protected:
    /// Gives a part of it the names by which users of screen readers, and tests, find it; the wheel is left to the list
    /// around it until it has the focus.
    void adopt(QWidget& part, const UnitParameter& parameter, const char* kind);

    bool eventFilter(QObject* watched, QEvent* event) override;
};

}  // namespace zelvane

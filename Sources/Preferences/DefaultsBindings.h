// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/Preferences/UserDefaultsController.h"

#include <functional>
#include <set>
#include <string>

class QCheckBox;
class QLineEdit;
class QString;
class QWidget;

namespace zelvane {

/// Binds the controls of an interface file to the user's settings: those with a property "defaultsKey". A check box is
/// 1 or 0, and checked for exactly 1. A line is a whole number from its property "lowest" to "highest"; while it is
/// not, the setting stays, and a label with the name of the line and "Error" behind it says what is wanted. Main
/// thread.
class DefaultsBindings {
  public:
    /// `validityChanged` is told whether all lines are numbers as they should be.
    DefaultsBindings(QWidget& root, UserDefaultsController& values, std::function<void(bool isValid)> validityChanged);
    DefaultsBindings(const DefaultsBindings&) = delete;
    DefaultsBindings& operator=(const DefaultsBindings&) = delete;

    /// Shows the values as they are now.
    void showValues();

  private:
    void bindCheckBox(QCheckBox& box, const std::string& key);
    void bindNumber(QLineEdit& line, const std::string& key);
    void take(QLineEdit& line, const std::string& key);
    void tellOf(QLineEdit& line, const QString& complaint);

    QWidget& _root;
    UserDefaultsController& _values;
    std::function<void(bool)> _validityChanged;
    std::set<QLineEdit*> _invalid;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QComboBox;

namespace zelvane {

/// An item of a pop-up button. Main thread.
class PopUpMenuItem {
  public:
    PopUpMenuItem(QComboBox& popup, int index) : _popup(popup), _index(index) {}

    /// Shows the item's title in the menu's font, in italics or upright.
    void setItalicStyle(bool isItalic);

  private:
    QComboBox& _popup;
    int _index;
};

}  // namespace zelvane

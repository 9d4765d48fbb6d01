// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Preferences/PopUpMenuItem+Font.h"

#include <QApplication>
#include <QComboBox>

namespace zelvane {

// In the size that the user's menus have.
void PopUpMenuItem::setItalicStyle(bool isItalic) {
    QFont font = QApplication::font("QMenu");
    font.setItalic(isItalic);
    _popup.setItemData(_index, font, Qt::FontRole);
}

}  // namespace zelvane

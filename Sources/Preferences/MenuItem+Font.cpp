// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Preferences/MenuItem+Font.h"

#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>

namespace zelvane {

// In the size that the user's menus have.
void MenuItem::setItalicStyle(bool isItalic) {
    QFont font = QApplication::font("QMenu");
    font.setItalic(isItalic);
    _popup.setItemData(_index, font, Qt::FontRole);
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/LocalizedString.h"

#include <QString>
#include <string>

namespace zelvane {

inline QString qtText(const std::string& text) {
    return QString::fromStdString(text);
}

inline QString localizedText(const char* english) {
    return qtText(localizedString(english));
}

}  // namespace zelvane

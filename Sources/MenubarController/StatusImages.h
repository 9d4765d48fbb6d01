// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/StatusItem.h"

#include <QIcon>

namespace zelvane {

/// The status item's image, drawn for a light or a dark desktop as the application's palette has it. Main thread.
QIcon statusImageNamed(StatusImage image);

}  // namespace zelvane

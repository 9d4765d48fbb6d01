// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// Has Qt use a display that can be reached, before its application is made: X, which on Wayland is XWayland, because
/// editors of instruments need it; else Wayland itself. What the user has told Qt goes before. False when there is
/// none: Qt would end the program.
bool chooseDisplay();

}  // namespace zelvane

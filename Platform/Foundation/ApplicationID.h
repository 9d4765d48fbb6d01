// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// By this desktops know the program: the name of its desktop entry, of its autostart entry, and of what software
/// centres show of it.
inline constexpr char kApplicationID[] = "org.zelvane.Zelvane";

/// Its icon, as icon themes name it.
inline constexpr char kIconName[] = "zelvane";

}  // namespace zelvane

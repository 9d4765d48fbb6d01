// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace zelvane {

/// The user's translation of an English text, which is its own key and its value when there is none. Any thread.
std::string localizedString(const char* english);

/// Chooses the catalogues: once, at start, before other threads run. Numbers keep the C locale.
void initLocalization();

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace zelvane {

/// The user's translation of an English text, which is its own key and its value when there is none. Any thread.
std::string localizedString(const char* english);

/// The languages of the user's that come before English, the best first, as folders are called by them: "de_AT", then
/// "de". Any thread.
std::vector<std::string> userLanguages();

/// Chooses the catalogues: once, at start, before other threads run. Numbers keep the C locale.
void initLocalization();

}  // namespace zelvane

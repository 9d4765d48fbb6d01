// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// Prints the instruments, one a line, behind a tab what there is to say of one; with `all` also those that are not
/// offered. The program's exit status.
int listInstruments(bool all);

}  // namespace zelvane

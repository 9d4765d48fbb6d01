// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// Has a line of the report written at once when an allocation fails, in this program or in a library that it loads.
/// Without effect under a sanitizer, which brings allocations of its own.
void reportFailedAllocations();

}  // namespace zelvane

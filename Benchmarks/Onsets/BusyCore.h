// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/ChildProcess.h"

namespace zelvane {

/// A process of ordinary priority that never rests, on the first core.
class BusyCore {
  private:
    ChildProcess _process{{"taskset", "-c", "0", "sh", "-c", "while :; do :; done"}, {}};
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/EndToEnd/HeardNote.h"

#include <functional>
#include <string>
#include <vector>

namespace zelvane {

/// Ten equal steps an octave, in a scale and a mapping of their own, with key 69 at 440 Hz.
class TenSteps {
  public:
    /// Options that make a player play by them.
    std::vector<std::string> options() const;

    /// Presses keys, one after the other, and expects each at its pitch (rounded to ten midics, to 0.2 cents), once.
    void expectKeys(const RunningPlayer& player, const JackCapture& capture,
                    const std::function<void(int key, bool isDown)>& press) const;

  private:
    TemporaryFolder _folder;
};

}  // namespace zelvane

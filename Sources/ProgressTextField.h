// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace zelvane {

/// A text in a window that tells what is being done. On the thread that was agreed on for it.
class ProgressTextField {
  public:
    virtual ~ProgressTextField() = default;
    virtual void setStringValue(const std::string& text) = 0;
};

}  // namespace zelvane

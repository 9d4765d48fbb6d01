// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// What a unit's editor shows; the desktop knows the kinds. Main thread.
class View {
  public:
    virtual ~View() = default;
    virtual bool isHidden() const = 0;
    virtual void setHidden(bool isHidden) = 0;
    /// In pixels.
    virtual int width() const = 0;
    virtual int height() const = 0;
    /// What it shows is out of date and is drawn again.
    virtual void setNeedsDisplay() = 0;
};

}  // namespace zelvane

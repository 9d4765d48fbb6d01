// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// Something whose audio thread has news that it must not tell itself.
class Lv2Watched {
  public:
    virtual ~Lv2Watched() = default;
    /// Tells them. Called some times a second, on a thread of the watch's.
    virtual void tellNews() = 0;
};

/// Has news told while it lives. One thread does it for all there are; it ends with the last.
class Lv2Watch {
  public:
    explicit Lv2Watch(Lv2Watched& watched);
    /// Waits for a telling that is under way.
    ~Lv2Watch();
    Lv2Watch(const Lv2Watch&) = delete;
    Lv2Watch& operator=(const Lv2Watch&) = delete;

  private:
    Lv2Watched& _watched;
};

}  // namespace zelvane

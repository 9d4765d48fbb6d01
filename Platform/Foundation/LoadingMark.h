// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/FileDescriptor.h"

#include <filesystem>
#include <optional>
#include <string>

namespace zelvane {

/// A file that says "loading NAME" while something is loaded that may bring the whole program down. It is locked by the
/// process that made it, so that one found without a lock is of a process that died. Main thread.
class LoadingMark {
  public:
    explicit LoadingMark(std::filesystem::path file) : _file(std::move(file)) {}

    /// What a process that died was loading; the mark is taken away.
    std::optional<std::string> takeLeft();

    /// Where it can't be written, or another process has it, there is none.
    void put(const std::string& name);
    void remove();
    /// Leaves the file to the next process.
    void leave() { _descriptor.close(); }

  private:
    bool openLocked(int flags);

    const std::filesystem::path _file;
    FileDescriptor _descriptor;  // open while this process has the mark
};

}  // namespace zelvane

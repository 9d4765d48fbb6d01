// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/File/DiskSync.h"
#include "Platform/Audio/File/NamelessFile.h"

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <span>

namespace zelvane {

/// A file on the disk to which fragments are added so that it is whole at every moment. Errors are thrown as
/// `RecordingError`; then the file ends with the last whole fragment.
class FragmentFile {
  public:
    /// The hook, if any, is called before each fragment is written.
    FragmentFile(const std::filesystem::path& target, std::function<void()> beforeWrite)
        : _file(target), _beforeWrite(std::move(beforeWrite)) {}

    NamelessFile& file() { return _file; }

    /// Writes what the file begins with, through to the disk.
    void writeHeader(std::span<const std::byte> header);
    /// Adds a fragment, which is on the disk soon after.
    void append(std::span<std::byte> fragment);
    /// Waits until all is on the disk.
    void sync();

  private:
    void write(std::span<const std::byte> bytes, off_t place);
    void undo();

    NamelessFile _file;
    const std::function<void()> _beforeWrite;
    std::unique_ptr<DiskSync> _sync;  // from the first fragment on
    off_t _size = 0;                  // of what is whole
};

}  // namespace zelvane

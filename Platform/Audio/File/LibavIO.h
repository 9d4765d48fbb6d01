// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/File/Libav.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zelvane {

/// Collects what libavformat writes, from begin to end.
class MemoryOutput {
  public:
    MemoryOutput();
    MemoryOutput(const MemoryOutput&) = delete;
    MemoryOutput& operator=(const MemoryOutput&) = delete;

    AVIOContext* context() const { return _context.get(); }
    /// Everything written since the last call.
    std::vector<std::byte> take();

  private:
    static int write(void* self, std::uint8_t* bytes, int size) noexcept;

    std::vector<std::byte> _bytes;
    LibavOwner<AVIOContext> _context;
};

/// Lets libavformat read or write an open file, whose own position is left alone.
class DescriptorIO {
  public:
    enum class Direction { read, write };

    DescriptorIO(int descriptor, Direction direction);
    DescriptorIO(const DescriptorIO&) = delete;
    DescriptorIO& operator=(const DescriptorIO&) = delete;

    AVIOContext* context() const { return _context.get(); }

  private:
    static int read(void* self, std::uint8_t* bytes, int size) noexcept;
    static int write(void* self, std::uint8_t* bytes, int size) noexcept;
    static std::int64_t seek(void* self, std::int64_t offset, int origin) noexcept;

    const int _descriptor;
    std::int64_t _position = 0;
    LibavOwner<AVIOContext> _context;
};

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/File/LibavIO.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace zelvane {

namespace {

constexpr int kBufferSize = 1 << 16;

using ReadOrWrite = int (*)(void*, std::uint8_t*, int);
using Seek = std::int64_t (*)(void*, std::int64_t, int);

LibavOwner<AVIOContext> makeContext(void* self, bool isWriting, ReadOrWrite read, ReadOrWrite write, Seek seek) {
    auto* buffer = static_cast<unsigned char*>(av_malloc(kBufferSize));
    if (buffer == nullptr) throw std::bad_alloc();
    AVIOContext* context = avio_alloc_context(buffer, kBufferSize, isWriting ? 1 : 0, self, read, write, seek);
    if (context == nullptr) av_free(buffer);
    return ownLibav(context);
}

}  // namespace

MemoryOutput::MemoryOutput() : _context(makeContext(this, true, nullptr, write, nullptr)) {}

std::vector<std::byte> MemoryOutput::take() {
    avio_flush(_context.get());
    return std::exchange(_bytes, {});
}

int MemoryOutput::write(void* self, std::uint8_t* bytes, int size) noexcept {
    const auto* begin = reinterpret_cast<const std::byte*>(bytes);
    auto& collected = static_cast<MemoryOutput*>(self)->_bytes;
    collected.insert(collected.end(), begin, begin + size);
    return size;
}

DescriptorIO::DescriptorIO(int descriptor, Direction direction)
    : _descriptor(descriptor),
      _context(direction == Direction::read ? makeContext(this, false, read, nullptr, seek)
                                            : makeContext(this, true, nullptr, write, seek)) {}

int DescriptorIO::read(void* self, std::uint8_t* bytes, int size) noexcept {
    auto& io = *static_cast<DescriptorIO*>(self);
    const ssize_t got = ::pread(io._descriptor, bytes, static_cast<std::size_t>(size), io._position);
    if (got < 0) return AVERROR(errno);
    if (got == 0) return AVERROR_EOF;
    io._position += got;
    return static_cast<int>(got);
}

int DescriptorIO::write(void* self, std::uint8_t* bytes, int size) noexcept {
    auto& io = *static_cast<DescriptorIO*>(self);
    for (int left = size; left > 0;) {
        const ssize_t written = ::pwrite(io._descriptor, bytes, static_cast<std::size_t>(left), io._position);
        if (written < 0) return AVERROR(errno);
        bytes += written;
        left -= static_cast<int>(written);
        io._position += written;
    }
    return size;
}

std::int64_t DescriptorIO::seek(void* self, std::int64_t offset, int origin) noexcept {
    auto& io = *static_cast<DescriptorIO*>(self);
    struct stat status {};
    if (::fstat(io._descriptor, &status) != 0) return AVERROR(errno);
    switch (origin & ~AVSEEK_FORCE) {
        case AVSEEK_SIZE:
            return status.st_size;
        case SEEK_SET:
            return io._position = offset;
        case SEEK_CUR:
            return io._position += offset;
        case SEEK_END:
            return io._position = status.st_size + offset;
        default:
            return AVERROR(EINVAL);
    }
}

}  // namespace zelvane

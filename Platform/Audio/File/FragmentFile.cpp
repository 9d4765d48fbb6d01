// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/File/FragmentFile.h"

#include "Platform/Audio/File/RecordingError.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace zelvane {

namespace {

using BoxType = std::array<std::byte, 4>;

constexpr off_t kPlaceOfBoxType = 4;
constexpr std::size_t kBoxHeader = 8;
constexpr BoxType kFreeSpace{std::byte{'f'}, std::byte{'r'}, std::byte{'e'}, std::byte{'e'}};

std::size_t sizeOfFirstBox(std::span<const std::byte> bytes) {
    std::size_t size = 0;
    for (const std::byte byte : bytes.first<4>()) size = size << 8U | std::to_integer<std::size_t>(byte);
    return size;
}

std::array<std::byte, kBoxHeader> freeSpace(std::size_t size) {
    std::array<std::byte, kBoxHeader> header{};
    for (std::size_t i = 0; i < 4; ++i) header[i] = static_cast<std::byte>(size >> (24 - 8 * i) & 0xFFU);
    std::copy(kFreeSpace.begin(), kFreeSpace.end(), header.begin() + kPlaceOfBoxType);
    return header;
}

/// Bytes to leave free so that a fragment's head lies in one block of the disk. When the power fails a file may end
/// with any block, and players refuse all of a file that ends within a head.
std::size_t gapBefore(std::span<const std::byte> fragment, std::size_t place) {
    constexpr std::size_t kBlock = 4096;
    const std::size_t head = sizeOfFirstBox(fragment) + kBoxHeader;
    const std::size_t room = kBlock - place % kBlock;
    if (head <= room) return 0;
    return room >= kBoxHeader ? room : room + kBlock;
}

}  // namespace

void FragmentFile::writeHeader(std::span<const std::byte> header) {
    write(header, 0);
    if (::fdatasync(_file.number()) != 0) throw RecordingError::last("could not write it to the disk");
    _size = static_cast<off_t>(header.size());
}

/// Until the whole fragment is there its first box is free space, so that a crash in the middle leaves nothing that a
/// player would stumble over.
void FragmentFile::append(std::span<std::byte> fragment) {
    if (_beforeWrite) _beforeWrite();
    if (_sync == nullptr) _sync = std::make_unique<DiskSync>(_file.number());
    const std::size_t gap = gapBefore(fragment, static_cast<std::size_t>(_size));
    if (gap > 0) write(freeSpace(gap), _size);
    const off_t place = _size + static_cast<off_t>(gap);
    const auto placeOfType = fragment.subspan<kPlaceOfBoxType, sizeof(BoxType)>();
    BoxType type{};
    std::copy(placeOfType.begin(), placeOfType.end(), type.begin());
    std::copy(kFreeSpace.begin(), kFreeSpace.end(), placeOfType.begin());
    write(fragment, place);
    write(type, place + kPlaceOfBoxType);
    _size = place + static_cast<off_t>(fragment.size());
    _sync->request();
}

void FragmentFile::sync() {
    if (_sync != nullptr) _sync->request();
    _sync.reset();
    if (::fdatasync(_file.number()) != 0) throw RecordingError::last("could not write it to the disk");
}

void FragmentFile::write(std::span<const std::byte> bytes, off_t place) {
    while (!bytes.empty()) {
        const ssize_t written = ::pwrite(_file.number(), bytes.data(), bytes.size(), place);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) {
            const int number = errno;
            undo();
            throw RecordingError(number, "could not write on it");
        }
        bytes = bytes.subspan(static_cast<std::size_t>(written));
        place += written;
    }
}

/// Cuts off what was begun. Where even that fails it stays, as free space.
void FragmentFile::undo() {
    [[maybe_unused]] const int result = ::ftruncate(_file.number(), _size);
}

}  // namespace zelvane

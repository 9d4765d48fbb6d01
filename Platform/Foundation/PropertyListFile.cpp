// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/AtomicFile.h"
#include "Platform/Foundation/FileDescriptor.h"
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/PropertyList.h"
#include "Platform/Foundation/Text.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace zelvane {

namespace {

constexpr int kMissing = 1;
constexpr int kDamaged = 2;
constexpr int kNotWritten = 3;

Error fileError(int code, const char* text, const std::filesystem::path& file, const std::string& reason) {
    return {"PropertyList", code, formatted(localizedString(text), {file.string(), reason})};
}

/// The bytes of a regular file, up to one more than a property list may have; errno on failure.
std::optional<std::string> readBytes(const std::filesystem::path& file) {
    // Not to wait for the other end of a pipe.
    const FileDescriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!descriptor.isOpen() || ::fstat(descriptor.number(), &status) != 0) return std::nullopt;
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return std::nullopt;
    }
    std::string bytes;
    std::array<char, 65536> buffer{};
    while (bytes.size() <= kLargestPropertyList) {
        const ssize_t count = ::read(descriptor.number(), buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        bytes.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return bytes;
}

}  // namespace

std::optional<PropertyList> readPropertyListFile(const std::filesystem::path& file, Error& error) {
    const auto bytes = readBytes(file);
    if (!bytes) {
        const bool isMissing = errno == ENOENT || errno == ENOTDIR;
        error = fileError(isMissing ? kMissing : kDamaged, "Sorry, unable to read %@: %@", file,
                          std::generic_category().message(errno));
        return std::nullopt;
    }
    return parsePropertyList(*bytes, error);
}

bool writePropertyListFile(const std::filesystem::path& file, const PropertyList& list, Error& error) {
    const std::string xml = serializePropertyList(list);
    // A list that could not be read again, being too large or too deep, must not take the place of one that can.
    if (!parsePropertyList(xml, error)) return false;
    std::string reason;
    if (writeFileAtomically(file, xml, reason)) return true;
    error = fileError(kNotWritten, "Sorry, unable to write %@: %@", file, reason);
    return false;
}

}  // namespace zelvane

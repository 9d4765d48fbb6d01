// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/TextFile.h"

#include "Platform/Foundation/FileDescriptor.h"
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

namespace zelvane {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string systemReason(int error) {
    return std::generic_category().message(error);
}

std::string reasonAgainst(const struct stat& status) {
    if (S_ISDIR(status.st_mode)) return systemReason(EISDIR);
    if (!S_ISREG(status.st_mode)) return localizedString("Not a regular file");
    if (status.st_size > static_cast<off_t>(kLargestTextFile)) return systemReason(EFBIG);
    return {};
}

// Pseudo files tell a size of 0, and some wait for their next line: only what is there now counts.
int readAll(int descriptor, std::string& bytes) {
    bytes.resize(kLargestTextFile + 1);
    std::size_t size = 0;
    while (size < bytes.size()) {
        const ssize_t count = ::read(descriptor, bytes.data() + size, bytes.size() - size);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno;
        if (count == 0) break;
        size += static_cast<std::size_t>(count);
    }
    if (size > kLargestTextFile) return EFBIG;
    bytes.resize(size);
    bytes.shrink_to_fit();
    return 0;
}

}  // namespace

std::optional<std::string> readTextFile(const std::filesystem::path& file, std::string& reason) {
    const auto refuse = [&reason](std::string why) {
        reason = std::move(why);
        return std::nullopt;
    };
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0) return refuse(systemReason(errno));
    if (auto why = reasonAgainst(status); !why.empty()) return refuse(std::move(why));
    const FileDescriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!descriptor.isOpen()) return refuse(systemReason(errno));
    // The name may have come to stand for something else since it was asked.
    if (::fstat(descriptor.number(), &status) != 0) return refuse(systemReason(errno));
    if (auto why = reasonAgainst(status); !why.empty()) return refuse(std::move(why));

    std::string text;
    if (const int error = readAll(descriptor.number(), text); error != 0) return refuse(systemReason(error));
    if (!isUtf8(text)) return refuse(localizedString("Not UTF-8 text"));
    if (text.starts_with(kByteOrderMark)) text.erase(0, kByteOrderMark.size());
    return text;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/AtomicFile.h"

#include "Platform/Foundation/FileDescriptor.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace zelvane {

namespace {

/// A file that goes away again unless it was moved into place.
class TemporaryFile {
  public:
    explicit TemporaryFile(const std::filesystem::path& folder)
        : _path(folder / ".zelvane-XXXXXX"), _descriptor(::mkostemp(_path.data(), O_CLOEXEC)) {}
    ~TemporaryFile() {
        const int reason = errno;  // of what went wrong before
        if (_isOurs) ::unlink(_path.c_str());
        errno = reason;
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    bool isOpen() const { return _descriptor.isOpen(); }

    bool adoptPermissions(const std::filesystem::path& other) {
        struct stat status {};
        if (::stat(other.c_str(), &status) != 0) return true;
        return ::fchmod(_descriptor.number(), status.st_mode & 07777U) == 0;
    }

    bool write(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t written = ::write(_descriptor.number(), bytes.data(), bytes.size());
            if (written < 0 && errno == EINTR) continue;
            if (written <= 0) return false;
            bytes.remove_prefix(static_cast<std::size_t>(written));
        }
        return true;
    }

    bool moveTo(const std::filesystem::path& file) {
        if (::fsync(_descriptor.number()) != 0 || !_descriptor.close()) return false;
        if (std::rename(_path.c_str(), file.c_str()) != 0) return false;
        _isOurs = false;
        return true;
    }

  private:
    std::string _path;
    FileDescriptor _descriptor;
    bool _isOurs = _descriptor.isOpen();
};

bool makeFolders(const std::filesystem::path& folder) {
    std::error_code error;
    if (folder.empty() || std::filesystem::is_directory(folder, error)) return true;
    if (!makeFolders(folder.parent_path())) return false;
    return ::mkdir(folder.c_str(), S_IRWXU) == 0 || errno == EEXIST;
}

/// The new name is on the disk only once its folder is.
void syncFolder(const std::filesystem::path& folder) {
    const FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems cannot sync a folder; the file itself is complete either way.
    if (descriptor.isOpen()) ::fsync(descriptor.number());
}

bool replace(const std::filesystem::path& file, std::string_view bytes) {
    const auto folder = file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
    if (!makeFolders(folder)) return false;
    TemporaryFile temporary(folder);
    if (!temporary.isOpen() || !temporary.adoptPermissions(file) || !temporary.write(bytes)) return false;
    if (!temporary.moveTo(file)) return false;
    syncFolder(folder);
    return true;
}

}  // namespace

std::optional<std::filesystem::path> linkTarget(std::filesystem::path file) {
    constexpr int kLongestChain = 40;
    std::error_code error;
    for (int links = 0; links < kLongestChain; ++links) {
        if (!std::filesystem::is_symlink(file, error)) return file;
        // An absolute target replaces the whole path here.
        file = file.parent_path() / std::filesystem::read_symlink(file, error);
        if (error) return std::nullopt;
    }
    return std::nullopt;
}

bool writeFileAtomically(const std::filesystem::path& file, std::string_view bytes, std::string& reason) {
    const auto target = linkTarget(file);
    if (!target) errno = ELOOP;
    if (target && replace(*target, bytes)) return true;
    reason = std::generic_category().message(errno);
    return false;
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/File/NamelessFile.h"

#include "Platform/Audio/File/RecordingError.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>

#include <cerrno>
#include <mutex>
#include <random>

namespace zelvane {

namespace {

/// A recording that ends may meet one that begins under the same name: each looks who has it and takes it in one go.
std::mutex namesMutex;

constexpr mode_t kEverybody = 0666;  // less what the user's mask forbids

std::filesystem::path folderOf(const std::filesystem::path& file) {
    return file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
}

std::filesystem::path hiddenNameBeside(const std::filesystem::path& file) {
    static constexpr const char* kPrefix = ".zelvane-";
    return folderOf(file) / (kPrefix + std::to_string(std::random_device{}()));
}

std::filesystem::path pathOfDescriptor(int number) {
    return "/proc/self/fd/" + std::to_string(number);
}

/// A new name is on the disk only once its folder is.
void syncFolder(const std::filesystem::path& folder) {
    const FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems cannot sync a folder; the file itself is complete either way.
    if (descriptor.isOpen()) ::fsync(descriptor.number());
}

}  // namespace

bool findIdentity(const std::filesystem::path& file, FileIdentity& identity) {
    struct stat status {};
    if (::lstat(file.c_str(), &status) != 0) return false;
    identity = {status.st_dev, status.st_ino};
    return true;
}

NamelessFile::NamelessFile(const std::filesystem::path& target) : _target(target) {
    struct stat former {};
    const bool hasFormer = ::stat(target.c_str(), &former) == 0;
    if (hasFormer && S_ISDIR(former.st_mode)) throw RecordingError(EISDIR, "could not replace it");
    if (hasFormer && !S_ISREG(former.st_mode)) throw RecordingError(EPERM, "could not replace what is no file");
    if (hasFormer && ::access(target.c_str(), W_OK) != 0) throw RecordingError::last("could not replace it");
    open();
    if (hasFormer) ::fchmod(number(), former.st_mode & 0777U);
}

NamelessFile::~NamelessFile() {
    if (!_hasName && !_hiddenName.empty()) ::unlink(_hiddenName.c_str());
}

void NamelessFile::open() {
    _descriptor = FileDescriptor(::open(folderOf(_target).c_str(), O_RDWR | O_TMPFILE | O_CLOEXEC, kEverybody));
    if (_descriptor.isOpen() && ::access(pathOfDescriptor(number()).c_str(), F_OK) == 0) return;
    _hiddenName = hiddenNameBeside(_target);
    _descriptor = FileDescriptor(::open(_hiddenName.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kEverybody));
    if (_descriptor.isOpen()) return;
    throw RecordingError::last("could not create it");
}

FileIdentity NamelessFile::identity() const {
    struct stat status {};
    if (::fstat(number(), &status) != 0) throw RecordingError::last("could not look at it");
    return {status.st_dev, status.st_ino};
}

bool NamelessFile::link(const std::filesystem::path& name) {
    return ::linkat(AT_FDCWD, pathOfDescriptor(number()).c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

bool NamelessFile::takeFreeName() {
    const std::lock_guard lock(namesMutex);
    FileIdentity other;
    if (findIdentity(_target, other)) return false;
    const bool isDone =
        _hiddenName.empty()
            ? link(_target)
            : ::renameat2(AT_FDCWD, _hiddenName.c_str(), AT_FDCWD, _target.c_str(), RENAME_NOREPLACE) == 0 ||
                  (errno == EINVAL && ::rename(_hiddenName.c_str(), _target.c_str()) == 0);
    if (!isDone && errno == EEXIST) return false;
    if (!isDone) throw RecordingError::last("could not name it");
    wasNamed();
    return true;
}

void NamelessFile::takeName() {
    const std::lock_guard lock(namesMutex);
    replace();
}

bool NamelessFile::takeNameOf(const FileIdentity& former) {
    const std::lock_guard lock(namesMutex);
    FileIdentity present;
    if (!findIdentity(_target, present) || present != former) return false;
    replace();
    return true;
}

void NamelessFile::giveNameUp() {
    const std::lock_guard lock(namesMutex);
    FileIdentity present;
    if (findIdentity(_target, present) && present == identity()) ::unlink(_target.c_str());
}

/// Only a rename replaces a file without a moment in which there is none, and it needs a name to start from.
void NamelessFile::replace() {
    if (_hiddenName.empty()) {
        const auto name = hiddenNameBeside(_target);
        if (!link(name)) throw RecordingError::last("could not name it");
        _hiddenName = name;
    }
    if (::rename(_hiddenName.c_str(), _target.c_str()) != 0) throw RecordingError::last("could not name it");
    wasNamed();
}

void NamelessFile::wasNamed() {
    _hasName = true;
    syncFolder(folderOf(_target));
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/FileDescriptor.h"

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace zelvane {

/// Tells a file from all others, whatever its name.
struct FileIdentity {
    dev_t device = 0;
    ino_t number = 0;

    bool operator==(const FileIdentity&) const = default;
};

/// A new file in a folder that gets its name only when it is worth one. Until then a crash leaves nothing behind,
/// except on file systems where a hidden name is needed. Errors are thrown as `RecordingError`.
class NamelessFile {
  public:
    /// In the folder of a file to be, and with the permissions of one that has the name already.
    explicit NamelessFile(const std::filesystem::path& target);
    ~NamelessFile();
    NamelessFile(const NamelessFile&) = delete;
    NamelessFile& operator=(const NamelessFile&) = delete;

    int number() const { return _descriptor.number(); }
    FileIdentity identity() const;
    bool hasName() const { return _hasName; }

    /// Takes the name unless there is such a file. False then.
    bool takeFreeName();
    /// Takes the name of whatever has it.
    void takeName();
    /// Takes the name of this file, and of no other. False when that one does not have it any more.
    bool takeNameOf(const FileIdentity& former);
    /// Gives the name up again, if it is still this file's.
    void giveNameUp();

  private:
    void open();
    bool link(const std::filesystem::path& name);
    void replace();
    void wasNamed();

    const std::filesystem::path _target;
    FileDescriptor _descriptor;
    std::filesystem::path _hiddenName;  // empty where none is needed
    bool _hasName = false;
};

/// What has a name, if it is a file.
bool findIdentity(const std::filesystem::path& file, FileIdentity& identity);

}  // namespace zelvane

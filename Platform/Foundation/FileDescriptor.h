// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace zelvane {

/// Owner of an open file.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int number) : _number(number) {}
    FileDescriptor(FileDescriptor&& other) noexcept : _number(std::exchange(other._number, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(_number, other._number);
        return *this;
    }
    ~FileDescriptor() {
        const int reason = errno;  // of what went wrong before
        close();
        errno = reason;
    }

    bool isOpen() const { return _number >= 0; }
    int number() const { return _number; }

    /// False when the system could not store what was written.
    bool close() { return _number < 0 || ::close(std::exchange(_number, -1)) == 0; }

  private:
    int _number = -1;
};

}  // namespace zelvane

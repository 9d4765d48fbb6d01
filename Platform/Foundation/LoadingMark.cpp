// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/LoadingMark.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <string_view>
#include <system_error>

namespace zelvane {

namespace {

constexpr std::string_view kWord = "loading ";

}  // namespace

bool LoadingMark::openLocked(int flags) {
    _descriptor = FileDescriptor(::open(_file.c_str(), flags | O_RDWR | O_CLOEXEC | O_NONBLOCK, 0600));
    if (_descriptor.isOpen() && ::flock(_descriptor.number(), LOCK_EX | LOCK_NB) == 0) return true;
    _descriptor.close();
    return false;
}

std::optional<std::string> LoadingMark::takeLeft() {
    if (!openLocked(0)) return std::nullopt;
    std::array<char, 1024> buffer{};
    const ssize_t count = ::read(_descriptor.number(), buffer.data(), buffer.size());
    remove();
    std::string_view text(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    if (!text.starts_with(kWord)) return std::nullopt;
    text.remove_prefix(kWord.size());
    return std::string(text.substr(0, text.find('\n')));
}

void LoadingMark::put(const std::string& name) {
    remove();
    std::error_code ignored;
    std::filesystem::create_directories(_file.parent_path(), ignored);
    if (!openLocked(O_CREAT)) return;
    const std::string text = std::string(kWord) + name + "\n";
    const bool isWritten = ::ftruncate(_descriptor.number(), 0) == 0 &&
                           ::write(_descriptor.number(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
    if (!isWritten) remove();
}

void LoadingMark::remove() {
    if (!_descriptor.isOpen()) return;
    ::unlink(_file.c_str());
    _descriptor.close();
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Log.h"

#include "Platform/Foundation/Text.h"

#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <utility>

namespace zelvane {

namespace {

/// One write for a line, so that lines of several threads and processes do not mix; more only if the kernel cuts it.
void writeToStandardError(std::string_view text) {
    std::string line(text);
    line += '\n';
    std::string_view rest = line;
    while (!rest.empty()) {
        const ssize_t written = ::write(STDERR_FILENO, rest.data(), rest.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;  // nowhere left to complain to
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
}

struct Output {
    std::mutex mutex;
    Log::Sink sink = writeToStandardError;
};

/// Never destroyed: threads and static objects may log to the very end.
Output& output() {
    static Output& output = *new Output;
    return output;
}

Log::Sink exchangeSink(Log::Sink sink) {
    const std::lock_guard lock(output().mutex);
    return std::exchange(output().sink, std::move(sink));
}

}  // namespace

void Log::write(std::string_view pattern, const std::vector<std::string>& arguments) {
    // Texts come from files and from other programs: none may break the line or forge another one.
    const std::string line = printable(formatted(pattern, arguments));
    const std::lock_guard lock(output().mutex);
    output().sink(line);
}

Log::Redirection Log::redirect(Sink sink) {
    return Redirection(exchangeSink(std::move(sink)));
}

Log::Redirection::Redirection(Sink previous) : _previous(std::move(previous)) {}

Log::Redirection::Redirection(Redirection&& other) noexcept
    : _previous(std::move(other._previous)), _isActive(std::exchange(other._isActive, false)) {}

Log::Redirection::~Redirection() {
    if (_isActive) exchangeSink(std::move(_previous));
}

}  // namespace zelvane

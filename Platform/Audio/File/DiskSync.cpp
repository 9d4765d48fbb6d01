// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/File/DiskSync.h"

#include "Platform/Audio/File/RecordingError.h"
#include "Platform/Foundation/Thread.h"

#include <unistd.h>

#include <cerrno>

namespace zelvane {

DiskSync::DiskSync(int descriptor)
    : _descriptor(descriptor), _thread(startThread("recording sync", ThreadRole::ordinary, [this] { run(); })) {}

DiskSync::~DiskSync() {
    {
        const std::lock_guard lock(_mutex);
        _isEnding = true;
    }
    _condition.notify_one();
    _thread.join();
}

void DiskSync::request() {
    {
        const std::lock_guard lock(_mutex);
        if (_error != 0) throw RecordingError(_error, "could not write it to the disk");
        _isWanted = true;
    }
    _condition.notify_one();
}

void DiskSync::run() {
    std::unique_lock lock(_mutex);
    for (;;) {
        _condition.wait(lock, [this] { return _isWanted || _isEnding; });
        if (!_isWanted) return;
        _isWanted = false;
        lock.unlock();
        const int error = ::fdatasync(_descriptor) == 0 ? 0 : errno;
        lock.lock();
        if (error != 0 && _error == 0) _error = error;
    }
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2Watch.h"

#include "Platform/Foundation/Thread.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace zelvane {

namespace {

constexpr auto kPause = std::chrono::milliseconds(250);

class Watcher {
  public:
    void add(Lv2Watched& watched) {
        const std::lock_guard threadLock(_threadMutex);
        const std::lock_guard lock(_mutex);
        _all.push_back(&watched);
        if (_thread.joinable()) return;
        _thread = startThread("lv2 watch", ThreadRole::ordinary, [this] { watch(); });
    }

    void remove(Lv2Watched& watched) {
        const std::lock_guard threadLock(_threadMutex);
        {
            const std::lock_guard lock(_mutex);
            std::erase(_all, &watched);
            if (!_all.empty()) return;
        }
        _isEmpty.notify_all();
        std::exchange(_thread, {}).join();
    }

  private:
    void watch() {
        std::unique_lock lock(_mutex);
        while (!_isEmpty.wait_for(lock, kPause, [this] { return _all.empty(); }))
            for (Lv2Watched* watched : _all) watched->tellNews();
    }

    std::mutex _threadMutex;  // guards the thread; taken before the other
    std::mutex _mutex;        // guards the list; held while news are told
    std::condition_variable _isEmpty;
    std::vector<Lv2Watched*> _all;
    std::jthread _thread;
};

Watcher& watcher() {
    static auto& instance = *new Watcher;  // never destroyed: instruments may go late
    return instance;
}

}  // namespace

Lv2Watch::Lv2Watch(Lv2Watched& watched) : _watched(watched) {
    watcher().add(watched);
}

Lv2Watch::~Lv2Watch() {
    watcher().remove(_watched);
}

}  // namespace zelvane

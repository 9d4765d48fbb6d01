// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <jack/jack.h>

#include <atomic>

namespace zelvane {

/// Counts the cycles that JACK lost: what is heard across such a gap tells nothing of when it was played.
class XrunCounter {
  public:
    XrunCounter() : _client(jack_client_open("xruns", JackNoStartServer, nullptr)) {
        if (_client == nullptr) return;
        jack_set_xrun_callback(_client, countXrun, this);
        jack_activate(_client);
    }
    ~XrunCounter() {
        if (_client != nullptr) jack_client_close(_client);
    }
    XrunCounter(const XrunCounter&) = delete;
    XrunCounter& operator=(const XrunCounter&) = delete;

    int count() const { return _count.load(std::memory_order_relaxed); }

  private:
    static int countXrun(void* self) {
        static_cast<XrunCounter*>(self)->_count.fetch_add(1, std::memory_order_relaxed);
        return 0;
    }

    std::atomic<int> _count{0};  // written by JACK's thread, read by the benchmark
    jack_client_t* const _client;
};

}  // namespace zelvane

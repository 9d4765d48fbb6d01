// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <alsa/asoundlib.h>

#include <memory>
#include <new>

namespace zelvane {

template <auto release>
struct AlsaRelease {
    template <typename Info>
    void operator()(Info* info) const {
        release(info);
    }
};

/// One of the library's records, made by its own function.
template <typename Info, auto allocate, auto release>
class AlsaInfo {
  public:
    AlsaInfo() {
        Info* info = nullptr;
        if (allocate(&info) < 0) throw std::bad_alloc();
        _info.reset(info);
    }
    Info* get() const { return _info.get(); }

  private:
    std::unique_ptr<Info, AlsaRelease<release>> _info;
};

using AlsaClientInfo = AlsaInfo<snd_seq_client_info_t, snd_seq_client_info_malloc, snd_seq_client_info_free>;
using AlsaPortInfo = AlsaInfo<snd_seq_port_info_t, snd_seq_port_info_malloc, snd_seq_port_info_free>;
using AlsaPool = AlsaInfo<snd_seq_client_pool_t, snd_seq_client_pool_malloc, snd_seq_client_pool_free>;
using AlsaQueueStatus = AlsaInfo<snd_seq_queue_status_t, snd_seq_queue_status_malloc, snd_seq_queue_status_free>;
using AlsaSubscription = AlsaInfo<snd_seq_port_subscribe_t, snd_seq_port_subscribe_malloc, snd_seq_port_subscribe_free>;

}  // namespace zelvane

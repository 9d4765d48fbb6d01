// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Alsa/AlsaSequencer.h"

#include "Platform/MIDI/Alsa/AlsaInfo.h"

#include <errno.h>

namespace zelvane {

namespace {

// The kernel gives no more to a client. Half of it free wakes a sender that waits.
constexpr std::size_t kRoom = 2000;
// In bytes; a system exclusive message that fills the whole room has to be read in one piece.
constexpr std::size_t kBuffer = 4 * kRoom * sizeof(snd_seq_event_t);

void keepQuiet(const char*, int, const char*, int, const char*, ...) {}

snd_seq_addr_t kernelAddress(AlsaAddress address) {
    return {static_cast<unsigned char>(address.client), static_cast<unsigned char>(address.port)};
}

AlsaSubscription subscription(AlsaAddress sender, AlsaAddress destination) {
    AlsaSubscription subscription;
    const snd_seq_addr_t from = kernelAddress(sender);
    const snd_seq_addr_t to = kernelAddress(destination);
    snd_seq_port_subscribe_set_sender(subscription.get(), &from);
    snd_seq_port_subscribe_set_dest(subscription.get(), &to);
    return subscription;
}

}  // namespace

std::unique_ptr<AlsaSequencer> AlsaSequencer::open(const std::string& name, Error& error) {
    // The library prints what it can't do; whoever asks is told by return values anyway.
    snd_lib_error_set_handler(keepQuiet);
    snd_seq_t* handle = nullptr;
    const int result = snd_seq_open(&handle, "default", SND_SEQ_OPEN_DUPLEX, SND_SEQ_NONBLOCK);
    if (result < 0) {
        error = {"ALSA", result, std::string("The ALSA sequencer can't be opened: ") + snd_strerror(result) + "."};
        return nullptr;
    }
    return std::unique_ptr<AlsaSequencer>(new AlsaSequencer(handle, name));
}

AlsaSequencer::AlsaSequencer(snd_seq_t* handle, const std::string& name)
    : _handle(handle), _client(snd_seq_client_id(handle)) {
    snd_seq_set_client_name(_handle, name.c_str());
    makeRoom();
    startQueue(name);
}

AlsaSequencer::~AlsaSequencer() {
    snd_seq_close(_handle);
}

void AlsaSequencer::makeRoom() const {
    snd_seq_set_input_buffer_size(_handle, kBuffer);
    const AlsaPool pool;
    snd_seq_get_client_pool(_handle, pool.get());
    snd_seq_client_pool_set_input_pool(pool.get(), kRoom);
    snd_seq_set_client_pool(_handle, pool.get());
}

void AlsaSequencer::startQueue(const std::string& name) {
    const int queue = snd_seq_alloc_named_queue(_handle, name.c_str());
    if (queue < 0) return;
    snd_seq_start_queue(_handle, queue, nullptr);
    if (snd_seq_drain_output(_handle) == 0) _queue = queue;
}

std::optional<Duration> AlsaSequencer::queueTime() const {
    const AlsaQueueStatus status;
    if (_queue < 0 || snd_seq_get_queue_status(_handle, _queue, status.get()) < 0) return std::nullopt;
    const snd_seq_real_time_t* time = snd_seq_queue_status_get_real_time(status.get());
    return std::chrono::seconds(time->tv_sec) + std::chrono::nanoseconds(time->tv_nsec);
}

int AlsaSequencer::createPort(const std::string& name, unsigned capabilities) const {
    const AlsaPortInfo info;
    snd_seq_port_info_set_name(info.get(), name.c_str());
    snd_seq_port_info_set_capability(info.get(), capabilities);
    snd_seq_port_info_set_type(
        info.get(), SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_SOFTWARE | SND_SEQ_PORT_TYPE_APPLICATION);
    snd_seq_port_info_set_midi_channels(info.get(), 16);
    if (_queue >= 0) {
        snd_seq_port_info_set_timestamping(info.get(), 1);
        snd_seq_port_info_set_timestamp_real(info.get(), 1);
        snd_seq_port_info_set_timestamp_queue(info.get(), _queue);
    }
    const std::lock_guard lock(_portsMutex);
    if ((capabilities & SND_SEQ_PORT_CAP_NO_EXPORT) != 0) {
        snd_seq_port_info_set_port(info.get(), numberForOurselves());
        snd_seq_port_info_set_port_specified(info.get(), 1);
    }
    return snd_seq_create_port(_handle, info.get()) < 0 ? -1 : snd_seq_port_info_get_port(info.get());
}

/// Who names a client without a port means its first: that is to be one for all.
int AlsaSequencer::numberForOurselves() const {
    const AlsaPortInfo info;
    int number = 128;
    while (snd_seq_get_port_info(_handle, number, info.get()) == 0) ++number;
    return number;
}

bool AlsaSequencer::renamePort(int port, const std::string& name) const {
    const AlsaPortInfo info;
    if (snd_seq_get_port_info(_handle, port, info.get()) < 0) return false;
    snd_seq_port_info_set_name(info.get(), name.c_str());
    return snd_seq_set_port_info(_handle, port, info.get()) == 0;
}

void AlsaSequencer::deletePort(int port) const {
    snd_seq_delete_port(_handle, port);
}

bool AlsaSequencer::connect(AlsaAddress sender, AlsaAddress destination) const {
    const int result = snd_seq_subscribe_port(_handle, subscription(sender, destination).get());
    return result == 0 || result == -EBUSY;
}

bool AlsaSequencer::isConnected(AlsaAddress sender, AlsaAddress destination) const {
    return snd_seq_get_port_subscription(_handle, subscription(sender, destination).get()) == 0;
}

}  // namespace zelvane

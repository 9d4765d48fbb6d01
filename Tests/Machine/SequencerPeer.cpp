// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Machine/SequencerPeer.h"

#include <array>
#include <stdexcept>

namespace zelvane {

namespace {

constexpr unsigned kEverything =
    SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ | SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE;

}  // namespace

SequencerPeer::SequencerPeer(const std::string& clientName, const std::string& portName) {
    if (snd_seq_open(&_handle, "default", SND_SEQ_OPEN_DUPLEX, SND_SEQ_NONBLOCK) < 0) {
        throw std::runtime_error("no sequencer");
    }
    snd_midi_event_new(256, &_decoder);
    snd_midi_event_no_status(_decoder, 1);
    snd_seq_set_client_name(_handle, clientName.c_str());
    _port = snd_seq_create_simple_port(_handle, portName.c_str(), kEverything, SND_SEQ_PORT_TYPE_APPLICATION);
}

SequencerPeer::~SequencerPeer() {
    snd_midi_event_free(_decoder);
    snd_seq_close(_handle);
}

AlsaAddress SequencerPeer::address() const {
    return {snd_seq_client_id(_handle), _port};
}

AlsaAddress SequencerPeer::find(const std::string& clientName, const std::string& portName) const {
    snd_seq_client_info_t* client = nullptr;
    snd_seq_port_info_t* port = nullptr;
    snd_seq_client_info_malloc(&client);
    snd_seq_port_info_malloc(&port);
    snd_seq_client_info_set_client(client, -1);
    AlsaAddress found;
    while (snd_seq_query_next_client(_handle, client) == 0) {
        if (snd_seq_client_info_get_name(client) != clientName) continue;
        snd_seq_port_info_set_client(port, snd_seq_client_info_get_client(client));
        snd_seq_port_info_set_port(port, -1);
        while (snd_seq_query_next_port(_handle, port) == 0) {
            if (snd_seq_port_info_get_name(port) != portName) continue;
            found = {snd_seq_port_info_get_client(port), snd_seq_port_info_get_port(port)};
        }
    }
    snd_seq_port_info_free(port);
    snd_seq_client_info_free(client);
    return found;
}

bool SequencerPeer::connectTo(AlsaAddress destination) const {
    return snd_seq_connect_to(_handle, _port, destination.client, destination.port) == 0;
}

bool SequencerPeer::listenTo(AlsaAddress source) const {
    return snd_seq_connect_from(_handle, _port, source.client, source.port) == 0;
}

void SequencerPeer::disconnectFrom(AlsaAddress destination) const {
    snd_seq_disconnect_to(_handle, _port, destination.client, destination.port);
}

void SequencerPeer::removePort() const {
    snd_seq_delete_port(_handle, _port);
}

void SequencerPeer::send(snd_seq_event_t event) const {
    sendTo({SND_SEQ_ADDRESS_SUBSCRIBERS, SND_SEQ_ADDRESS_UNKNOWN}, event);
}

void SequencerPeer::sendTo(AlsaAddress destination, snd_seq_event_t event) const {
    event.source.port = static_cast<unsigned char>(_port);
    event.dest = {static_cast<unsigned char>(destination.client), static_cast<unsigned char>(destination.port)};
    event.queue = SND_SEQ_QUEUE_DIRECT;
    snd_seq_event_output_direct(_handle, &event);
}

void SequencerPeer::sendSystemExclusive(std::vector<std::uint8_t> piece) const {
    snd_seq_event_t event{};
    event.type = SND_SEQ_EVENT_SYSEX;
    event.flags = SND_SEQ_EVENT_LENGTH_VARIABLE;
    event.data.ext.len = static_cast<unsigned>(piece.size());
    event.data.ext.ptr = piece.data();
    send(event);
}

snd_seq_event_t SequencerPeer::noteOn(int key, int velocity, int channel) {
    snd_seq_event_t event{};
    event.type = SND_SEQ_EVENT_NOTEON;
    event.data.note.channel = static_cast<unsigned char>(channel);
    event.data.note.note = static_cast<unsigned char>(key);
    event.data.note.velocity = static_cast<unsigned char>(velocity);
    return event;
}

snd_seq_event_t SequencerPeer::noteOff(int key, int channel) {
    snd_seq_event_t event = noteOn(key, 0, channel);
    event.type = SND_SEQ_EVENT_NOTEOFF;
    return event;
}

std::vector<std::uint8_t> SequencerPeer::received() const {
    std::vector<std::uint8_t> bytes;
    std::array<std::uint8_t, 1024> message{};
    snd_seq_event_t* event = nullptr;
    while (snd_seq_event_input(_handle, &event) >= 0) {
        const long length = snd_midi_event_decode(_decoder, message.data(), static_cast<long>(message.size()), event);
        if (length > 0) bytes.insert(bytes.end(), message.begin(), message.begin() + length);
    }
    return bytes;
}

}  // namespace zelvane

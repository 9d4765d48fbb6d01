// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Alsa/AlsaCards.h"
#include "Platform/MIDI/Alsa/AlsaInfo.h"
#include "Platform/MIDI/Alsa/AlsaSequencer.h"

#include <stdlib.h>

namespace zelvane {

namespace {

bool hasAll(unsigned capabilities, unsigned wanted) {
    return (capabilities & wanted) == wanted;
}

std::optional<AlsaCard> cardOf(int number, const std::string& clientName) {
    if (number < 0) return std::nullopt;
    AlsaCard card = readAlsaCard(kAlsaCardsFolder, number);
    char* name = nullptr;
    card.name = snd_card_get_name(number, &name) == 0 ? name : clientName;
    free(name);
    return card;
}

AlsaPort describedClient(snd_seq_client_info_t* info) {
    AlsaPort client;
    client.address.client = snd_seq_client_info_get_client(info);
    client.clientName = snd_seq_client_info_get_name(info);
    client.isKernels = snd_seq_client_info_get_type(info) == SND_SEQ_KERNEL_CLIENT;
    client.process = snd_seq_client_info_get_pid(info);
    client.card = cardOf(snd_seq_client_info_get_card(info), client.clientName);
    return client;
}

void addPorts(snd_seq_t* handle, const AlsaPort& client, std::vector<AlsaPort>& ports) {
    const AlsaPortInfo info;
    snd_seq_port_info_set_client(info.get(), client.address.client);
    snd_seq_port_info_set_port(info.get(), -1);
    while (snd_seq_query_next_port(handle, info.get()) == 0) {
        const unsigned capabilities = snd_seq_port_info_get_capability(info.get());
        if (hasAll(capabilities, SND_SEQ_PORT_CAP_NO_EXPORT)) continue;
        AlsaPort port = client;
        port.address.port = snd_seq_port_info_get_port(info.get());
        port.name = snd_seq_port_info_get_name(info.get());
        port.isSource = hasAll(capabilities, SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ);
        port.isDestination = hasAll(capabilities, SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE);
        ports.push_back(port);
    }
}

}  // namespace

std::vector<AlsaPort> AlsaSequencer::ports() const {
    std::vector<AlsaPort> ports;
    const AlsaClientInfo info;
    snd_seq_client_info_set_client(info.get(), -1);
    while (snd_seq_query_next_client(_handle, info.get()) == 0) {
        const int client = snd_seq_client_info_get_client(info.get());
        if (client == SND_SEQ_CLIENT_SYSTEM || client == _client) continue;
        addPorts(_handle, describedClient(info.get()), ports);
    }
    return ports;
}

}  // namespace zelvane

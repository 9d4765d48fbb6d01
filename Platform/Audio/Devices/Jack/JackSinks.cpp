// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Jack/JackSinks.h"

#include <algorithm>

namespace zelvane {

namespace {

std::vector<std::string> physicalInputs(const JackClient& client) {
    return client.ports(JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput | JackPortIsPhysical);
}

}  // namespace

std::vector<std::string> jackSinks(const JackClient& client) {
    std::vector<std::string> sinks;
    for (const std::string& port : physicalInputs(client)) {
        std::string sink = client.ownerOf(port);
        if (std::ranges::find(sinks, sink) == sinks.end()) sinks.push_back(std::move(sink));
    }
    return sinks;
}

std::vector<std::string> jackInputs(const JackClient& client, const std::string& sink) {
    std::vector<std::string> inputs = physicalInputs(client);
    std::erase_if(inputs, [&](const std::string& port) { return client.ownerOf(port) != sink; });
    return inputs;
}

}  // namespace zelvane

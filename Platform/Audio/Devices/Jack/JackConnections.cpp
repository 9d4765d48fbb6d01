// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Jack/JackConnections.h"

#include "Platform/Audio/Devices/Jack/JackSinks.h"

#include <algorithm>
#include <iterator>

namespace zelvane {

JackConnections::JackConnections(const JackClient& client, std::string sink, std::shared_ptr<JackWiring> wiring)
    : _client(client), _sink(std::move(sink)), _wiring(std::move(wiring)) {
    const auto users = _wiring->users();
    _isUsers = users.has_value();
    if (users) _toLayAgain = *users;
}

void JackConnections::update(TimePoint now, bool portsWent) {
    if (portsWent) _portsWentAt = now;
    // The news and the change itself may come in either order.
    if (_portsWentAt && now - *_portsWentAt > kPatience) _portsWentAt.reset();
    const Wires present = presentWires();
    if (_isUsers || isRewiredByUser(present)) {
        _isUsers = true;
        followUser(present);
        return;
    }
    const std::string sink = presentSink();
    const Wires wanted = wiresTo(jackInputs(_client, sink));
    if (wanted.empty()) {
        sinkIsAway(now, present);
        return;
    }
    _awaySince.reset();
    _isSinkLost = false;
    if (sink != _connectedSink || !std::ranges::includes(present, _made)) rewire(sink, wanted, present);
}

/// A wire to a port that has gone was not taken away by the user.
void JackConnections::followUser(const Wires& present) {
    layAgain();
    JackWiring::Wires wires = _wiring->users().value_or(JackWiring::Wires());
    std::erase_if(wires, [&](const auto& wire) {
        return !_toLayAgain.contains(wire) && _client.library().portByName(_client.handle(), wire.second.c_str());
    });
    for (std::size_t i = 0; i < _outputs.size(); ++i) {
        for (const auto& [output, input] : present) {
            if (output == _client.library().portName(_outputs[i])) wires.emplace(i, input);
        }
    }
    if (!_client.isDead()) _wiring->setUsers(std::move(wires));
}

void JackConnections::layAgain() {
    const JackLibrary& library = _client.library();
    std::erase_if(_toLayAgain, [&](const auto& wire) {
        const auto& [output, input] = wire;
        if (library.portByName(_client.handle(), input.c_str()) == nullptr) return false;
        return library.connect(_client.handle(), library.portName(_outputs[output]), input.c_str()) == 0;
    });
}

std::string JackConnections::presentSink() const {
    if (!_sink.empty()) return _sink;
    const std::vector<std::string> sinks = jackSinks(_client);
    return sinks.empty() ? std::string() : sinks.front();
}

bool JackConnections::isRewiredByUser(const Wires& present) const {
    if (_connectedSink.empty() || _portsWentAt || std::ranges::includes(present, _made)) return false;
    return !jackInputs(_client, _connectedSink).empty();
}

void JackConnections::sinkIsAway(TimePoint now, const Wires& present) {
    _connectedSink.clear();
    _made.clear();
    if (!_awaySince) _awaySince = now;
    _isSinkLost = now - *_awaySince > kPatience && present.empty();
}

void JackConnections::rewire(const std::string& sink, const Wires& wanted, const Wires& present) {
    const JackLibrary& library = _client.library();
    for (const auto& [output, input] : _made) {
        if (present.contains({output, input})) library.disconnect(_client.handle(), output.c_str(), input.c_str());
    }
    for (const auto& [output, input] : wanted) library.connect(_client.handle(), output.c_str(), input.c_str());
    _made.clear();
    std::ranges::set_intersection(wanted, presentWires(), std::inserter(_made, _made.end()));
    _connectedSink = _made.empty() ? std::string() : sink;  // one that refused is asked again
}

/// The first two inputs in stereo; both outputs to a single one.
JackConnections::Wires JackConnections::wiresTo(const std::vector<std::string>& inputs) const {
    Wires wires;
    for (std::size_t i = 0; i < _outputs.size() && !inputs.empty(); ++i) {
        wires.emplace(_client.library().portName(_outputs[i]), inputs[std::min(i, inputs.size() - 1)]);
    }
    return wires;
}

JackConnections::Wires JackConnections::presentWires() const {
    Wires wires;
    for (const jack_port_t* output : _outputs) {
        const char** inputs = _client.library().portConnections(_client.handle(), output);
        for (const char** input = inputs; input != nullptr && *input != nullptr; ++input) {
            wires.emplace(_client.library().portName(output), *input);
        }
        if (inputs != nullptr) _client.library().free(inputs);
    }
    return wires;
}

}  // namespace zelvane

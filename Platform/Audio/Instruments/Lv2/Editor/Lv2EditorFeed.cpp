// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Editor/Lv2EditorFeed.h"

#include <lv2/atom/util.h>

namespace zelvane {

namespace {

std::vector<std::uint32_t> controlOutputs(const Lv2Plugin& plugin) {
    std::vector<std::uint32_t> ports;
    for (const Lv2Port& port : plugin.ports)
        if (port.kind == Lv2Port::Kind::control && !port.isInput) ports.push_back(port.index);
    return ports;
}

}  // namespace

Lv2EditorFeed::Lv2EditorFeed(const Lv2Plugin& plugin)
    : _outputs(controlOutputs(plugin)), _values(std::make_unique<std::atomic<float>[]>(_outputs.size())) {}

void Lv2EditorFeed::listen(Lv2Ports& ports) noexcept {
    for (std::size_t place = 0; place < _outputs.size(); ++place)
        _values[place].store(ports.control(_outputs[place]), std::memory_order_relaxed);
    for (const Lv2Ports::Outgoing& outgoing : ports.outgoing()) {
        const LV2_Atom_Sequence* sequence = outgoing.buffer->written();
        if (sequence == nullptr) continue;
        const Header header{outgoing.port};
        LV2_ATOM_SEQUENCE_FOREACH(sequence, event) {
            const auto* atom = reinterpret_cast<const std::byte*>(&event->body);
            _events.push(std::as_bytes(std::span(&header, 1)), {atom, sizeof(LV2_Atom) + event->body.size});
        }
    }
}

}  // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/RenderGate.h"

#include "Platform/Audio/RealtimeScope.h"

#include <algorithm>
#include <thread>

namespace zelvane {

// Each side raises its own flag before it reads the other's. With both in one total order, at least one of two that
// meet sees the other.

void RenderGate::render(const AudioCycle& cycle) noexcept {
    const RealtimeScope realtime;
    _isInside.store(true, std::memory_order_seq_cst);
    if (_isOpen.load(std::memory_order_seq_cst)) {
        _renderer.render(cycle);
    } else {
        for (float* output : cycle.outputs) std::fill_n(output, cycle.frames, 0.0F);
    }
    _isInside.store(false, std::memory_order_seq_cst);
}

void RenderGate::open() {
    _isOpen.store(true, std::memory_order_seq_cst);
}

void RenderGate::close() {
    _isOpen.store(false, std::memory_order_seq_cst);
    while (_isInside.load(std::memory_order_seq_cst)) std::this_thread::sleep_for(std::chrono::microseconds(50));
}

}  // namespace zelvane

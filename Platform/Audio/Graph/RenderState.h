// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace zelvane {

class InstrumentUnit;
class MixerTap;

/// All that the audio thread can reach. It is swapped in whole and not changed afterwards; whoever made it keeps the
/// units and the tap alive until it is swapped out.
struct RenderState {
    std::vector<InstrumentUnit*> units;
    MixerTap* tap = nullptr;
};

/// Hands render states to the audio thread. Control threads swap, one at a time; the audio thread enters and leaves.
class RenderStateCell {
  public:
    /// Audio thread, real-time safe. The state stays whole until `leave`; null means silence.
    RenderState* enter() noexcept {
        _isInside.store(true, std::memory_order_seq_cst);
        return _state.load(std::memory_order_seq_cst);
    }

    void leave() noexcept {
        _visits.fetch_add(1, std::memory_order_release);
        _isInside.store(false, std::memory_order_release);
    }

    /// Puts a state, or null, in the place of the one there is, which it returns once the audio thread has left it.
    std::unique_ptr<RenderState> swap(std::unique_ptr<RenderState> next) {
        std::unique_ptr<RenderState> previous(_state.exchange(next.release(), std::memory_order_seq_cst));
        const auto visits = _visits.load(std::memory_order_acquire);
        while (_isInside.load(std::memory_order_seq_cst) && _visits.load(std::memory_order_acquire) == visits)
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        return previous;
    }

    ~RenderStateCell() { delete _state.load(); }

  private:
    std::atomic<RenderState*> _state{nullptr};  // written by control threads, read by the audio thread
    std::atomic<bool> _isInside{false};         // written by the audio thread, read by control threads
    std::atomic<std::uint64_t> _visits{0};      // written by the audio thread, read by control threads
};

}  // namespace zelvane

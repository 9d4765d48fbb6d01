// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Graph/RenderGraph.h"

#include "Platform/Audio/Graph/MixerTap.h"
#include "Platform/Audio/RealtimeScope.h"
#include "Platform/Audio/Units/InstrumentUnit.h"

#include <algorithm>
#include <cmath>

namespace zelvane {

namespace {

// An event needs this long beyond one period: the player thread's wake-up, and the frames by which an instrument with a
// grid looks ahead of a block.
constexpr double kWakeUpSeconds = 0.002;
constexpr std::int64_t kGridFrames = 96;

// Louder than any mix can mean: what lies above is a fault of the unit.
constexpr float kLargestSample = 1e4F;

std::int64_t latencyFor(std::uint32_t periodFrames, double sampleRate) noexcept {
    return periodFrames + kGridFrames + static_cast<std::int64_t>(kWakeUpSeconds * sampleRate);
}

bool isSound(const float* samples, std::uint32_t frames) noexcept {
    bool sound = true;
    for (std::uint32_t i = 0; i < frames; ++i) sound &= std::abs(samples[i]) <= kLargestSample;
    return sound;
}

}  // namespace

void RenderGraph::setFormatHandler(std::function<void(const AudioDeviceFormat&)> handler) {
    const std::lock_guard lock(_formatMutex);
    _formatHandler = std::move(handler);
}

AudioDeviceFormat RenderGraph::format() const {
    const std::lock_guard lock(_formatMutex);
    return _format;
}

void RenderGraph::prepare(const AudioDeviceFormat& format) {
    const std::lock_guard lock(_formatMutex);
    _format = format;
    _clock.reset(format.sampleRate);
    if (_formatHandler) _formatHandler(format);
}

std::uint32_t RenderGraph::latencyFrames(std::uint32_t periodFrames) const {
    const double sampleRate = format().sampleRate;
    const std::chrono::duration<double> delay = _messageDelay.load(std::memory_order_relaxed);
    return static_cast<std::uint32_t>(latencyFor(periodFrames, sampleRate) + std::llround(delay.count() * sampleRate));
}

void RenderGraph::render(const AudioCycle& cycle) noexcept {
    const RealtimeScope realtime;
    RenderState* state = _cell.enter();
    _clock.update(cycle.start, _frame, cycle.frames, cycle.startIsExact, cycle.isDiscontinuous);
    _latencyFrames.store(latencyFor(cycle.periodFrames, _clock.sampleRate()), std::memory_order_relaxed);
    for (std::uint32_t offset = 0; offset < cycle.frames;) {
        const std::uint32_t frames = std::min(cycle.frames - offset, kMaximumSlice);
        renderSlice(state, cycle, offset, frames);
        _frame += frames;
        offset += frames;
    }
    _cell.leave();
}

void RenderGraph::renderSlice(RenderState* state, const AudioCycle& cycle, std::uint32_t offset,
                              std::uint32_t frames) noexcept {
    std::fill_n(_mixLeft.data(), frames, 0.0F);
    std::fill_n(_mixRight.data(), frames, 0.0F);
    if (state != nullptr) {
        mixUnits(*state, frames);
        if (state->tap != nullptr)
            state->tap->write(_mixLeft.data(), _mixRight.data(), frames, _frame, _clock.sampleRate());
    }
    fillOutputs(cycle, offset, frames);
}

void RenderGraph::mixUnits(const RenderState& state, std::uint32_t frames) noexcept {
    const UnitBlock block{_clock, _frame, eventLatencyFrames(), frames, _unitLeft.data(), _unitRight.data()};
    for (InstrumentUnit* unit : state.units) {
        const std::uint64_t lateBefore = unit->lateEvents();
        if (unit->render(block)) add(frames);
        const std::uint64_t late = unit->lateEvents() - lateBefore;
        if (late > 0) _lateEvents.fetch_add(late, std::memory_order_relaxed);
    }
}

void RenderGraph::add(std::uint32_t frames) noexcept {
    if (!isSound(_unitLeft.data(), frames) || !isSound(_unitRight.data(), frames)) {
        _mutedBlocks.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    for (std::uint32_t i = 0; i < frames; ++i) {
        _mixLeft[i] += _unitLeft[i];
        _mixRight[i] += _unitRight[i];
    }
}

void RenderGraph::fillOutputs(const AudioCycle& cycle, std::uint32_t offset, std::uint32_t frames) noexcept {
    const float target = _volume.load(std::memory_order_relaxed);
    const float step = (target - _lastVolume) / static_cast<float>(frames);
    for (std::uint32_t i = 0; i < frames; ++i) {
        const float volume = _lastVolume + step * static_cast<float>(i + 1);
        _mixLeft[i] *= volume;
        _mixRight[i] *= volume;
    }
    _lastVolume = target;
    const auto outputs = cycle.outputs;
    if (outputs.size() == 1) {
        for (std::uint32_t i = 0; i < frames; ++i) outputs[0][offset + i] = 0.5F * (_mixLeft[i] + _mixRight[i]);
        return;
    }
    for (std::size_t channel = 0; channel < outputs.size(); ++channel) {
        float* out = outputs[channel] + offset;
        if (channel == 0)
            std::copy_n(_mixLeft.data(), frames, out);
        else if (channel == 1)
            std::copy_n(_mixRight.data(), frames, out);
        else
            std::fill_n(out, frames, 0.0F);
    }
}

}  // namespace zelvane

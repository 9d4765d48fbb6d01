// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2Worker.h"

#include "Platform/Foundation/Thread.h"

#include <chrono>

namespace zelvane {

namespace {

constexpr int kMostWaitsForRoom = 1000;  // of a millisecond each

std::span<const std::byte> bytes(const void* data, std::uint32_t size) {
    return {static_cast<const std::byte*>(data), data == nullptr ? 0 : size};
}

}  // namespace

void Lv2Worker::stop() {
    _isEnding.store(true, std::memory_order_relaxed);
    _wakeUp.post();
    if (_thread.joinable()) _thread.join();
}

void Lv2Worker::finish() {
    constexpr int kMostRounds = 64;  // of a plug-in that always wants more
    stop();
    if (_interface == nullptr) return;
    for (int round = 0; round < kMostRounds && (workOnce() || hasAnswers()); ++round) deliverAnswers();
}

void Lv2Worker::start(LV2_Handle plugin, const LV2_Worker_Interface* interface) {
    if (interface == nullptr || interface->work == nullptr) return;
    _plugin = plugin;
    _interface = interface;
    _thread = startThread("lv2 worker", ThreadRole::ordinary, [this] { work(); });
}

// Called by the plug-in from its `run`. The wake-up never waits; where the worker sleeps it is one system call, which
// is the price of a request that has to be begun now.
LV2_Worker_Status Lv2Worker::schedule(LV2_Worker_Schedule_Handle handle, std::uint32_t size, const void* data) {
    auto& worker = *static_cast<Lv2Worker*>(handle);
    if (!worker._requests.push(bytes(data, size))) {
        worker._lost.fetch_add(1, std::memory_order_relaxed);
        return LV2_WORKER_ERR_NO_SPACE;
    }
    worker._wakeUp.post();
    return LV2_WORKER_SUCCESS;
}

LV2_Worker_Status Lv2Worker::answer(LV2_Worker_Respond_Handle handle, std::uint32_t size, const void* data) {
    auto& worker = *static_cast<Lv2Worker*>(handle);
    for (int wait = 0; !worker._answers.push(bytes(data, size)); ++wait) {
        if (wait == kMostWaitsForRoom || worker._isEnding.load(std::memory_order_relaxed)) {
            worker._lost.fetch_add(1, std::memory_order_relaxed);
            return LV2_WORKER_ERR_NO_SPACE;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return LV2_WORKER_SUCCESS;
}

void Lv2Worker::work() {
    while (!_isEnding.load(std::memory_order_relaxed)) {
        _wakeUp.wait();
        workOff();
    }
}

void Lv2Worker::workOff() {
    while (!_isEnding.load(std::memory_order_relaxed) && workOnce()) {
    }
}

/// False when there is nothing to do.
bool Lv2Worker::workOnce() {
    const std::lock_guard lock(_workMutex);
    const auto request = _requests.front();
    if (!request) return false;
    _interface->work(_plugin, &answer, this, static_cast<std::uint32_t>(request->size()), request->data());
    _requests.pop();
    return true;
}

void Lv2Worker::deliverAnswers() noexcept {
    while (const auto message = _answers.front()) {
        if (_interface->work_response != nullptr)
            _interface->work_response(_plugin, static_cast<std::uint32_t>(message->size()), message->data());
        _answers.pop();
    }
}

void Lv2Worker::finishRun() noexcept {
    if (_interface == nullptr) return;
    deliverAnswers();
    if (_interface->end_run != nullptr) _interface->end_run(_plugin);
}

}  // namespace zelvane

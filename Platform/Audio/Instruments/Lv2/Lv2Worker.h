// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/MessageRing.h"
#include "Platform/Foundation/WakeUp.h"

#include <lv2/worker/worker.h>

#include <atomic>
#include <mutex>
#include <thread>

namespace zelvane {

/// The thread that does what a plug-in must not do while it renders, and the queues to it and back. One for each
/// instance: the work of one may take long, and the others shall not wait for it.
class Lv2Worker {
  public:
    Lv2Worker() = default;
    ~Lv2Worker() { stop(); }
    Lv2Worker(const Lv2Worker&) = delete;
    Lv2Worker& operator=(const Lv2Worker&) = delete;

    /// By which the plug-in asks for work, while it runs or while it is kept from running.
    LV2_Worker_Schedule* feature() { return &_schedule; }

    /// Starts the thread. Once, after the plug-in was made and before it runs.
    void start(LV2_Handle plugin, const LV2_Worker_Interface* interface);

    /// Ends the thread and does here what is still to be done: what is under way to the plug-in would be lost with the
    /// queue. After the last run; runs the plug-in's code.
    void finish();

    /// Gives the plug-in the answers that have come. The audio thread, after each run; runs the plug-in's code.
    void finishRun() noexcept;
    bool hasAnswers() const noexcept { return !_answers.isEmpty(); }

    /// To be held while the plug-in saves or restores its state: no work is done meanwhile.
    std::mutex& mutex() { return _workMutex; }

    /// Requests and answers lost since a queue was full. Any thread.
    std::uint64_t lost() const { return _lost.load(std::memory_order_relaxed); }

  private:
    static LV2_Worker_Status schedule(LV2_Worker_Schedule_Handle handle, std::uint32_t size, const void* data);
    static LV2_Worker_Status answer(LV2_Worker_Respond_Handle handle, std::uint32_t size, const void* data);
    void stop();
    void work();
    void workOff();
    bool workOnce();
    void deliverAnswers() noexcept;

    static constexpr std::size_t kQueueBytes = 65536;

    LV2_Worker_Schedule _schedule{this, &schedule};
    LV2_Handle _plugin = nullptr;
    const LV2_Worker_Interface* _interface = nullptr;
    MessageRing _requests{kQueueBytes};   // written by whoever runs the plug-in, read by the worker
    MessageRing _answers{kQueueBytes};    // written by the worker, read by the audio thread
    std::atomic<std::uint64_t> _lost{0};  // counted by both, read by all
    std::atomic<bool> _isEnding{false};   // set by the owner, read by the worker
    WakeUp _wakeUp;
    std::mutex _workMutex;
    std::jthread _thread;
};

}  // namespace zelvane

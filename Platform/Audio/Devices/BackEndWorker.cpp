// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/BackEndWorker.h"

#include "Platform/Foundation/RunLoop.h"
#include "Platform/Foundation/Thread.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace zelvane {

namespace {
constexpr Duration kPatienceAtEnd = std::chrono::milliseconds(500);
}

struct BackEndWorker::State {
    State(std::unique_ptr<AudioDeviceBackEnd> theBackEnd, AudioRenderer& theRenderer, std::function<void()> theChanged)
        : backEnd(std::move(theBackEnd)), renderer(theRenderer), changed(std::move(theChanged)) {}

    /// In the order of the calls: the event times of run loops, which may lie back, are of no account here.
    void post(std::function<void()> work) { loop.performAt(Clock::monotonic().now(), std::move(work)); }
    Attempt attemptToOpen(const std::string& device, const AudioStreamWish& wish);
    void open(const std::string& device, const AudioStreamWish& wish);
    void list();
    void run();

    const std::unique_ptr<AudioDeviceBackEnd> backEnd;  // the worker's thread
    AudioRenderer& renderer;
    RunLoop loop;

    std::mutex mutex;
    std::condition_variable condition;
    // All guarded by the mutex.
    std::function<void()> changed;
    bool isOpening = false;
    std::optional<Attempt> attempt;
    std::vector<AudioDeviceInfo> devices;
    std::uint64_t listsAsked = 0;
    std::uint64_t listsMade = 0;
    bool hasEnded = false;
};

BackEndWorker::BackEndWorker(std::unique_ptr<AudioDeviceBackEnd> backEnd, AudioRenderer& renderer,
                             std::function<void()> changed)
    : _name(backEnd->name()),
      _takesPeriodWish(backEnd->takesPeriodWish()),
      _state(std::make_shared<State>(std::move(backEnd), renderer, std::move(changed))),
      _thread(startThread(_name, ThreadRole::ordinary, [state = _state] { state->run(); })) {}

BackEndWorker::~BackEndWorker() {
    // Its own last piece of work ends the loop: what was to be closed before is closed before.
    _state->post([state = _state.get()] { state->loop.end(); });
    std::unique_lock lock(_state->mutex);
    _state->changed = nullptr;
    if (!_state->condition.wait_for(lock, kPatienceAtEnd, [this] { return _state->hasEnded; })) _thread.detach();
}

void BackEndWorker::open(const std::string& device, const AudioStreamWish& wish) {
    std::optional<Attempt> forgotten = takeAttempt();
    if (forgotten && forgotten->opened) close(std::move(forgotten->opened));
    {
        const std::lock_guard lock(_state->mutex);
        _state->isOpening = true;
    }
    _state->post([state = _state.get(), device, wish] { state->open(device, wish); });
}

bool BackEndWorker::isOpening() const {
    const std::lock_guard lock(_state->mutex);
    return _state->isOpening;
}

std::optional<BackEndWorker::Attempt> BackEndWorker::takeAttempt(Duration limit) {
    std::unique_lock lock(_state->mutex);
    _state->condition.wait_for(lock, limit, [this] { return !_state->isOpening; });
    return std::exchange(_state->attempt, std::nullopt);
}

void BackEndWorker::close(std::unique_ptr<OpenDevice> device) {
    const auto shared = std::make_shared<std::unique_ptr<OpenDevice>>(std::move(device));
    _state->post([shared] { shared->reset(); });
}

void BackEndWorker::refresh() {
    {
        const std::lock_guard lock(_state->mutex);
        if (_state->listsAsked != _state->listsMade) return;
        ++_state->listsAsked;
    }
    _state->post([state = _state.get()] { state->list(); });
}

std::vector<AudioDeviceInfo> BackEndWorker::knownDevices() const {
    const std::lock_guard lock(_state->mutex);
    return _state->devices;
}

std::vector<AudioDeviceInfo> BackEndWorker::devices(TimePoint deadline) {
    refresh();
    std::unique_lock lock(_state->mutex);
    _state->condition.wait_until(lock, deadline, [this] { return _state->listsAsked == _state->listsMade; });
    return _state->devices;
}

void BackEndWorker::State::run() {
    loop.attachToCurrentThread();
    loop.run();
    const std::lock_guard lock(mutex);
    hasEnded = true;
    condition.notify_all();
}

void BackEndWorker::State::open(const std::string& device, const AudioStreamWish& wish) {
    Attempt result = attemptToOpen(device, wish);
    const std::lock_guard lock(mutex);
    attempt = std::move(result);
    isOpening = false;
    condition.notify_all();
    if (changed) changed();
}

BackEndWorker::Attempt BackEndWorker::State::attemptToOpen(const std::string& device, const AudioStreamWish& wish) {
    Attempt result;
    auto opened = std::make_unique<OpenDevice>(renderer);
    opened->stream = backEnd->open(device, wish, result.error);
    if (!opened->stream) return result;
    if (!opened->stream->start(opened->gate)) {
        result.error = {"AudioDevice", 3, "the server refuses the stream"};
        return result;
    }
    opened->name = device;
    opened->followsDefault = device.empty();
    if (device.empty()) {
        const std::vector<AudioDeviceInfo> all = backEnd->devices();
        const auto isDefault = std::ranges::find_if(all, &AudioDeviceInfo::isDefault);
        if (isDefault != all.end()) opened->name = isDefault->name;
    }
    result.opened = std::move(opened);
    return result;
}

void BackEndWorker::State::list() {
    std::vector<AudioDeviceInfo> present = backEnd->devices();
    const std::lock_guard lock(mutex);
    devices = std::move(present);
    ++listsMade;
    condition.notify_all();
}

}  // namespace zelvane

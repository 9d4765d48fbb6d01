// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/OutputDeviceWatch.h"

#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/Thread.h"

#include <algorithm>
#include <cmath>

namespace zelvane {

namespace {

using std::chrono::milliseconds;

/// How often the device that plays is looked at: what it takes to leave a dead one.
constexpr Duration kTick = milliseconds(20);
constexpr Duration kHousekeepingInterval = milliseconds(100);
constexpr Duration kRetryInterval = milliseconds(500);
/// How long nothing may play while a device is opened.
constexpr Duration kLongestGap = milliseconds(250);
constexpr Duration kFallbackLimit = milliseconds(400);
constexpr Duration kListLimit = milliseconds(500);
constexpr Duration kSettleLimit = milliseconds(3000);
/// A chosen device may take nearly all of that; of several that would do, a server that hangs may not use up the
/// others'.
constexpr Duration kPatienceForChoice = milliseconds(2500);
constexpr Duration kPatienceForDefault = milliseconds(1200);

constexpr std::uint32_t kSmallestPeriod = 16;
constexpr std::uint32_t kLargestPeriod = 8192;

}  // namespace

OutputDeviceController::Watch::Watch(std::vector<std::unique_ptr<AudioDeviceBackEnd>> backEnds, AudioRenderer& renderer,
                                     std::function<void()> housekeeping)
    : _renderer(renderer), _housekeeping(std::move(housekeeping)) {
    for (auto& backEnd : backEnds) {
        _workers.push_back(std::make_unique<BackEndWorker>(std::move(backEnd), renderer, [this] { wakeUp(); }));
    }
    _thread = startThread("output devices", ThreadRole::ordinary, [this] { run(); });
}

OutputDeviceController::Watch::~Watch() {
    {
        const std::lock_guard lock(_mutex);
        _isStopping = true;
    }
    _work.notify_all();
    _thread.join();
}

void OutputDeviceController::Watch::select(const Choice& choice) {
    order([&](Orders& orders) { orders.choice = choice; });
}

void OutputDeviceController::Watch::setPeriodFrames(std::uint32_t frames) {
    order([&](Orders& orders) { orders.periodFrames = std::clamp(frames, kSmallestPeriod, kLargestPeriod); });
}

OutputDeviceController::Status OutputDeviceController::Watch::status() const {
    const std::lock_guard lock(_mutex);
    return _status;
}

std::vector<std::pair<OutputDeviceController::Choice, AudioDeviceInfo>> OutputDeviceController::Watch::devices() {
    const TimePoint deadline = Clock::monotonic().now() + kListLimit;
    for (const auto& worker : _workers) worker->refresh();
    std::vector<std::pair<Choice, AudioDeviceInfo>> devices;
    for (const auto& worker : _workers) {
        for (AudioDeviceInfo& info : worker->devices(deadline)) {
            Choice choice{worker->name(), info.name};
            devices.emplace_back(std::move(choice), std::move(info));
        }
    }
    return devices;
}

OutputDeviceController::Choice OutputDeviceController::Watch::defaultDevice() {
    {
        const std::lock_guard lock(_mutex);
        if (_orders.choice == Choice{} && !_status.isFallback && _status.current != Choice{}) return _status.current;
    }
    for (const auto& [choice, info] : devices()) {
        if (info.isDefault) return choice;
    }
    return {};
}

/// Leaves an order and waits until it is carried out as well as it can be.
template <typename Change>
void OutputDeviceController::Watch::order(Change change) {
    std::unique_lock lock(_mutex);
    change(_orders);
    const std::uint64_t number = ++_orders.number;
    _work.notify_all();
    _settled.wait_for(lock, kSettleLimit, [&] { return _settledNumber >= number || _isStopping; });
}

void OutputDeviceController::Watch::wakeUp() {
    const std::lock_guard lock(_mutex);
    _isAwake = true;
    _work.notify_all();
}

void OutputDeviceController::Watch::run() {
    _silentSince = Clock::monotonic().now();
    startHunt(_silentSince, true);
    while (waitForWork()) {
        const TimePoint now = Clock::monotonic().now();
        takeOrders(now);
        checkPlaying(now);
        proceedHunt(now);
        bridgeGap(now);
        dropForgotten();
        keepHouse(now);
        publish();
    }
    stopPlaying(Clock::monotonic().now());
}

bool OutputDeviceController::Watch::waitForWork() {
    std::unique_lock lock(_mutex);
    _work.wait_for(lock, kTick, [this] { return _isStopping || _isAwake || _orders.number != _target.number; });
    _isAwake = false;
    return !_isStopping;
}

void OutputDeviceController::Watch::takeOrders(TimePoint now) {
    const Orders former = _target;
    {
        const std::lock_guard lock(_mutex);
        if (_orders.number == _target.number) return;
        _target = _orders;
    }
    const bool isOtherPeriod = _target.periodFrames != former.periodFrames;
    const bool isOtherChoice = _target.choice != former.choice;
    if (isOtherPeriod && _playing && _workers[_playing->worker]->takesPeriodWish() &&
        _playing->format.periodFrames != _target.periodFrames) {
        stopPlaying(now);
    }
    if (isSatisfied()) {
        _hunt.reset();
    } else if (isOtherChoice || isOtherPeriod || !_hunt) {
        startHunt(now, true);
    }
}

void OutputDeviceController::Watch::checkPlaying(TimePoint now) {
    if (!_playing) return;
    const AudioStreamState state = _playing->device->stream->state();
    if (state == AudioStreamState::alive) return;
    const std::string name = _playing->device->name;
    stopPlaying(now);
    if (state == AudioStreamState::formatChanged) {
        Log::write("OutputDeviceController: [%@] %@ has another format now", {"watch", name});
        startHunt(now, true);
        return;
    }
    Log::write("OutputDeviceController: [%@] lost %@", {"watch", name});
    _hunt.reset();
    playFallback();
    // Nothing chosen: what else there is may do at once. A chosen device that has just gone will hardly be back
    // already.
    _nextHunt = _target.choice == Choice{} ? now : now + kRetryInterval;
}

void OutputDeviceController::Watch::proceedHunt(TimePoint now) {
    if (!_hunt && now >= _nextHunt && mayBecomeBetter()) startHunt(now, false);
    if (_hunt) {
        const DeviceHunt::Outcome outcome = _hunt->proceed(now);
        if (outcome == DeviceHunt::Outcome::searching) return;
        if (outcome == DeviceHunt::Outcome::failed) giveUpHunt(now);
        if (outcome == DeviceHunt::Outcome::found) play(_hunt->worker(), _hunt->takeDevice());
        _hunt.reset();
    }
    _reached = _target.number;
}

void OutputDeviceController::Watch::giveUpHunt(TimePoint now) {
    _nextHunt = now + kRetryInterval;
    if (_isHuntLoud) {
        Log::write("OutputDeviceController: [%@] unable to play on %@: %@", {"watch", targetName(), _hunt->reason()});
    }
    if (_playing && _playing->worker == fallback()) return;
    if (_playing) stopPlaying(now);
    playFallback();
}

void OutputDeviceController::Watch::bridgeGap(TimePoint now) {
    if (_playing || now - _silentSince < kLongestGap) return;
    if (_hunt && _hunt->isTrying(fallback())) return;
    playFallback();
}

/// A server that answers after nobody waits for it any more.
void OutputDeviceController::Watch::dropForgotten() {
    if (_hunt) return;
    for (const auto& worker : _workers) {
        std::optional<BackEndWorker::Attempt> attempt = worker->takeAttempt();
        if (attempt && attempt->opened) worker->close(std::move(attempt->opened));
    }
}

void OutputDeviceController::Watch::keepHouse(TimePoint now) {
    if (now >= _nextHousekeeping) {
        _nextHousekeeping = now + kHousekeepingInterval;
        if (_housekeeping) _housekeeping();
    }
    if (now >= _nextRefresh && _playing) {
        _nextRefresh = now + kRetryInterval;
        followDefaultsName();
        _workers[_playing->worker]->refresh();
    }
}

void OutputDeviceController::Watch::publish() {
    Status status;
    if (_playing) {
        status.current = {_workers[_playing->worker]->name(), _playing->device->name};
        status.format = _playing->format;
        status.isFallback = !isSatisfied();
        status.xruns = _playing->device->stream->xruns();
    }
    status.xruns += _formerXruns;
    const std::lock_guard lock(_mutex);
    _status = std::move(status);
    if (_settledNumber == _reached) return;
    _settledNumber = _reached;
    _settled.notify_all();
}

/// Without a choice every back end's default will do, in their order.
std::vector<DeviceCandidate> OutputDeviceController::Watch::candidates() const {
    std::vector<DeviceCandidate> candidates;
    for (std::size_t i = 0; i < _workers.size(); ++i) {
        const bool isWanted =
            _target.choice == Choice{} ? (i != fallback() || i == 0) : _workers[i]->name() == _target.choice.backEnd;
        if (isWanted) candidates.push_back({i, _target.choice.device});
    }
    return candidates;
}

/// Without a choice, a default that plays stays although a preferred server appears: PipeWire is behind JACK and
/// PulseAudio both, and nobody wants the sound to jump because some program has just loaded the other one. From the
/// fallback, anything is better.
bool OutputDeviceController::Watch::isSatisfied() const {
    if (!_playing) return false;
    const auto matches = [&](const DeviceCandidate& candidate) {
        return candidate.worker == _playing->worker && _playing->device->followsDefault == candidate.device.empty() &&
               (candidate.device.empty() || candidate.device == _playing->device->name);
    };
    return std::ranges::any_of(candidates(), matches);
}

/// The fallback's own back end has no devices that come and go: looking there again would only interrupt it.
bool OutputDeviceController::Watch::mayBecomeBetter() const {
    const auto isElsewhere = [&](const DeviceCandidate& candidate) { return candidate.worker != fallback(); };
    return !_playing || (!isSatisfied() && std::ranges::any_of(candidates(), isElsewhere));
}

void OutputDeviceController::Watch::startHunt(TimePoint now, bool isLoud) {
    _isHuntLoud = isLoud;
    const std::vector<DeviceCandidate> wanted = candidates();
    // One connection to a server at a time: two would show as two clients there.
    const auto isOnSameServer = [&](const DeviceCandidate& candidate) { return candidate.worker == _playing->worker; };
    if (_playing && std::ranges::any_of(wanted, isOnSameServer)) stopPlaying(now);
    const bool isChosen = _target.choice != Choice{};
    _hunt.emplace(_workers, wanted, AudioStreamWish{.periodFrames = _target.periodFrames},
                  isChosen ? kPatienceForChoice : kPatienceForDefault);
}

/// The renderer is prepared while no gate is open.
void OutputDeviceController::Watch::play(std::size_t worker, std::unique_ptr<OpenDevice> device) {
    if (_playing) stopPlaying(Clock::monotonic().now());
    const AudioDeviceFormat format = device->stream->format();
    _renderer.prepare(format);
    device->gate.open();
    Log::write(
        "OutputDeviceController: [%@] playing on %@ at %@ Hz, %@ frames",
        {"watch", device->name, std::to_string(std::lround(format.sampleRate)), std::to_string(format.periodFrames)});
    _playing = Playing{worker, std::move(device), format};
}

void OutputDeviceController::Watch::playFallback() {
    BackEndWorker& worker = *_workers[fallback()];
    if (!worker.isOpening()) worker.open({}, {.periodFrames = _target.periodFrames});
    std::optional<BackEndWorker::Attempt> attempt = worker.takeAttempt(kFallbackLimit);
    if (attempt && attempt->opened) {
        play(fallback(), std::move(attempt->opened));
    } else {
        _silentSince = Clock::monotonic().now();  // the next try comes after a gap's time
    }
}

void OutputDeviceController::Watch::stopPlaying(TimePoint now) {
    if (!_playing) return;
    _playing->device->gate.close();
    _formerXruns += _playing->device->stream->xruns();
    _workers[_playing->worker]->close(std::move(_playing->device));
    _playing.reset();
    _silentSince = now;
}

void OutputDeviceController::Watch::followDefaultsName() {
    if (!_playing->device->followsDefault) return;
    const std::vector<AudioDeviceInfo> devices = _workers[_playing->worker]->knownDevices();
    const auto isDefault = std::ranges::find_if(devices, &AudioDeviceInfo::isDefault);
    if (isDefault != devices.end()) _playing->device->name = isDefault->name;
}

std::string OutputDeviceController::Watch::targetName() const {
    return _target.choice == Choice{} ? "the default device" : _target.choice.device;
}

}  // namespace zelvane

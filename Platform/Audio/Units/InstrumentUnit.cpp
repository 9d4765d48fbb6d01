// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/InstrumentUnit.h"

#include "Platform/Audio/Units/MIDIRefusals.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/RunLoop.h"

#include <algorithm>
#include <thread>

namespace zelvane {

namespace {

constexpr Duration kStandstill = std::chrono::milliseconds(250);
constexpr Duration kQueuePoll = std::chrono::microseconds(500);

}  // namespace

InstrumentUnit::InstrumentUnit(std::unique_ptr<Instrument> instrument) : _instrument(std::move(instrument)) {
    const auto parameters = _instrument->parameters();
    _parameters = std::make_unique<ParameterValue[]>(parameters.size());
    for (std::size_t i = 0; i < parameters.size(); ++i) _parameters[i].value = parameters[i].defaultValue;
    const auto own = _instrument->properties();
    addProperties({own.begin(), own.end()});
    addProperties(commonProperties());
    _instrument->setPropertyHandler([this](AudioUnitPropertyID id) { propertyChanged(id); });
}

InstrumentUnit::~InstrumentUnit() {
    _instrument->setPropertyHandler(nullptr);
}

OSStatus InstrumentUnit::prepare(double sampleRate, std::uint32_t maxFrames) {
    const OSStatus status = _instrument->prepare(sampleRate, maxFrames);
    if (status == kNoError) _sampleRate = sampleRate;
    return status;
}

void InstrumentUnit::silence() {
    Event event;
    while (_queue.pop(event)) {
    }
    _pending.clear();
    _instrument->silence();
    // An instrument may leave the work to its next block, which may never come.
    constexpr std::uint32_t kFrames = 64;
    std::array<float, kFrames> left{}, right{};
    if (_sampleRate > 0) _instrument->render({}, left.data(), right.data(), kFrames);
}

OSStatus InstrumentUnit::midiEvent(std::uint32_t status, std::uint32_t data1, std::uint32_t data2,
                                   std::uint32_t sampleOffset) {
    if (const OSStatus refusal = checkMIDIEvent(status, data1, data2); refusal != kNoError) return refusal;
    const Event event{RunLoop::now(), sampleOffset, static_cast<std::uint8_t>(status), static_cast<std::uint8_t>(data1),
                      static_cast<std::uint8_t>(std::min(data2, 127U))};
    if (_queue.push(event) || pushWaiting(event)) return kNoError;
    _mustSilence.store(true, std::memory_order_release);
    if (_lostEvents.fetch_add(1, std::memory_order_relaxed) == 0) {
        Log::write("MusicDevice: [%@] the queue is full and no sound is rendered; events are lost and counted",
                   {"MusicDeviceMIDIEvent"});
    }
    return kAudioUnitErr_Uninitialized;
}

bool InstrumentUnit::pushWaiting(const Event& event) {
    std::uint64_t blocks = _blocksRendered.load(std::memory_order_relaxed);
    TimePoint lastProgress = Clock::monotonic().now();
    while (blocks != _stalledAt.load(std::memory_order_relaxed)) {
        std::this_thread::sleep_for(kQueuePoll);
        if (_queue.push(event)) return true;
        const std::uint64_t blocksNow = _blocksRendered.load(std::memory_order_relaxed);
        if (blocksNow != blocks) {
            blocks = blocksNow;
            lastProgress = Clock::monotonic().now();
        } else if (Clock::monotonic().now() - lastProgress > kStandstill) {
            _stalledAt.store(blocks, std::memory_order_relaxed);
        }
    }
    return false;
}

bool InstrumentUnit::render(const UnitBlock& block) noexcept {
    _blocksRendered.fetch_add(1, std::memory_order_relaxed);
    if (_parametersChanged.exchange(false, std::memory_order_acquire)) applyParameters();
    if (_mustSilence.exchange(false, std::memory_order_acquire)) recoverFromLoss(block);
    takeEvents(block);
    const std::int64_t end = block.firstFrame + block.frames + _instrument->lookahead();
    const std::size_t count = _pending.collect(block.firstFrame, end, _blockEvents.size(), _blockEvents.data());
    const RenderResult result =
        _instrument->render({_blockEvents.data(), count}, block.left, block.right, block.frames);
    countLate(block.firstFrame, result.eventsTaken);
    _pending.removeFirst(result.eventsTaken);
    return !result.isSilent;
}

// What was sent to a unit before it played at all, as its tunings are, had nobody who could have heard it in time.
void InstrumentUnit::countLate(std::int64_t frame, std::size_t eventsTaken) noexcept {
    if (!_firstFrame) _firstFrame = frame;
    const std::size_t early = _pending.countBefore(std::min(*_firstFrame, frame), eventsTaken);
    const std::size_t late = _pending.countBefore(frame, eventsTaken) - early;
    if (late > 0) _lateEvents.fetch_add(late, std::memory_order_relaxed);
}

void InstrumentUnit::takeEvents(const UnitBlock& block) noexcept {
    Event event;
    while (!_pending.isFull() && _queue.pop(event)) takeEvent(event, block);
}

void InstrumentUnit::takeEvent(const Event& event, const UnitBlock& block) noexcept {
    const std::int64_t frame = block.clock.frameAt(event.time) + block.latencyFrames + event.sampleOffset;
    _pending.insert(frame, {0, event.status, event.data1, event.data2});
}

// A note-off may be among what was lost: what sounds or would begin to sound is given up, all else still counts.
void InstrumentUnit::recoverFromLoss(const UnitBlock& block) noexcept {
    constexpr auto isNoteOn = [](std::uint8_t status) { return (status & 0xF0) == 0x90; };
    _pending.removeIf([&](const TimedMIDI& event) { return isNoteOn(event.status); });
    Event event;
    while (_queue.pop(event)) {
        if (!isNoteOn(event.status) && !_pending.isFull()) takeEvent(event, block);
    }
    _instrument->silence();
}

void InstrumentUnit::applyParameters() noexcept {
    for (std::size_t i = 0; i < _instrument->parameters().size(); ++i) {
        if (!_parameters[i].isChanged.exchange(false, std::memory_order_acquire)) continue;
        _instrument->setParameter(i, _parameters[i].value.load(std::memory_order_relaxed));
    }
}

const UnitParameter* InstrumentUnit::parameterWithID(AudioUnitParameterID id, std::size_t& index) const {
    const auto parameters = _instrument->parameters();
    const auto place = std::find_if(parameters.begin(), parameters.end(), [id](const auto& p) { return p.id == id; });
    if (place == parameters.end()) return nullptr;
    index = static_cast<std::size_t>(place - parameters.begin());
    return &*place;
}

OSStatus InstrumentUnit::parameter(AudioUnitParameterID id, AudioUnitScope scope, AudioUnitElement element,
                                   float& value) {
    std::size_t index = 0;
    if (parameterWithID(id, index) == nullptr) return kAudioUnitErr_InvalidParameter;
    if (scope != kAudioUnitScope_Global) return kAudioUnitErr_InvalidScope;
    if (element != 0) return kAudioUnitErr_InvalidElement;
    // What was set last counts until the audio thread has taken it; from then on the instrument may have changed it.
    value = _parameters[index].value.load(std::memory_order_relaxed);
    if (!_parameters[index].isChanged.load(std::memory_order_acquire))
        value = _instrument->parameterValue(index).value_or(value);
    return kNoError;
}

OSStatus InstrumentUnit::setParameter(AudioUnitParameterID id, AudioUnitScope scope, AudioUnitElement element,
                                      float value) {
    std::size_t index = 0;
    const UnitParameter* parameter = parameterWithID(id, index);
    if (parameter == nullptr || !parameter->isWritable) return kAudioUnitErr_InvalidParameter;
    if (scope != kAudioUnitScope_Global) return kAudioUnitErr_InvalidScope;
    if (element != 0) return kAudioUnitErr_InvalidElement;
    if (!(value == value)) return kAudioUnitErr_InvalidPropertyValue;
    _parameters[index].value.store(std::clamp(value, parameter->minimum, parameter->maximum),
                                   std::memory_order_relaxed);
    _parameters[index].isChanged.store(true, std::memory_order_release);
    _parametersChanged.store(true, std::memory_order_release);
    return kNoError;
}

}  // namespace zelvane

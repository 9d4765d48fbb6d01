// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AudioUnit.h"
#include "Platform/Audio/Units/EventQueue.h"
#include "Platform/Audio/Units/Instrument.h"
#include "Platform/Audio/Units/PendingEvents.h"
#include "Platform/Audio/Units/UnitBlock.h"
#include "Platform/Foundation/Clock.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

namespace zelvane {

/// An instrument's instance as a unit: it stamps MIDI messages with logical time, carries them to the audio thread and
/// has them played at their frames, and keeps the values of the parameters.
class InstrumentUnit : public AudioUnit {
  public:
    explicit InstrumentUnit(std::unique_ptr<Instrument> instrument);
    ~InstrumentUnit() override;

    OSStatus parameter(AudioUnitParameterID id, AudioUnitScope scope, AudioUnitElement element, float& value) override;
    OSStatus setParameter(AudioUnitParameterID id, AudioUnitScope scope, AudioUnitElement element,
                          float value) override;

    /// Queues the message. When the queue is full it waits for the audio thread, unless that stands still: then the
    /// message is lost, counted and logged, and all notes end before sound goes on.
    OSStatus midiEvent(std::uint32_t status, std::uint32_t data1, std::uint32_t data2,
                       std::uint32_t sampleOffset) override;

    /// Control threads, never while rendering.
    OSStatus prepare(double sampleRate, std::uint32_t maxFrames);
    /// Ends all sound and forgets what waits to be played. Control threads, never while rendering.
    void silence();

    const Instrument& instrument() const { return *_instrument; }
    Instrument& instrument() { return *_instrument; }

    /// Renders into the block's buffers; false when nothing sounds and they were left alone. Audio thread.
    bool render(const UnitBlock& block) noexcept;

    /// Events that came after their frame, blocks rendered, and events lost to a full queue. Any thread.
    std::uint64_t lateEvents() const { return _lateEvents.load(std::memory_order_relaxed); }
    std::uint64_t blocksRendered() const { return _blocksRendered.load(std::memory_order_relaxed); }
    std::uint64_t lostEvents() const { return _lostEvents.load(std::memory_order_relaxed); }

  private:
    struct Event {
        TimePoint time;
        std::uint32_t sampleOffset = 0;
        std::uint8_t status = 0, data1 = 0, data2 = 0;
    };
    struct ParameterValue {
        std::atomic<float> value{0};         // written by control threads, read by all
        std::atomic<bool> isChanged{false};  // set by control threads, cleared by the audio thread
    };

    std::vector<UnitProperty> commonProperties();
    const UnitParameter* parameterWithID(AudioUnitParameterID id, std::size_t& index) const;
    OSStatus parameterInfo(AudioUnitElement element, std::span<std::byte> out) const;
    bool pushWaiting(const Event& event);
    void applyParameters() noexcept;
    void takeEvents(const UnitBlock& block) noexcept;
    void takeEvent(const Event& event, const UnitBlock& block) noexcept;
    void countLate(std::int64_t frame, std::size_t eventsTaken) noexcept;
    void recoverFromLoss(const UnitBlock& block) noexcept;

    static constexpr std::size_t kQueueCapacity = 4096;
    static constexpr std::size_t kEventsPerBlock = 256;

    const std::unique_ptr<Instrument> _instrument;
    std::unique_ptr<ParameterValue[]> _parameters;
    std::atomic<bool> _parametersChanged{true};  // set by control threads, cleared by the audio thread
    std::atomic<double> _sampleRate{0};          // of the last `prepare`; written and read by control threads

    EventQueue<Event, kQueueCapacity> _queue;
    PendingEvents _pending{kQueueCapacity};                 // audio thread
    std::array<TimedMIDI, kEventsPerBlock> _blockEvents{};  // audio thread
    std::optional<std::int64_t> _firstFrame;                // audio thread; none before the first block

    std::atomic<std::uint64_t> _blocksRendered{0};  // written by the audio thread, read by control threads
    std::atomic<std::uint64_t> _lateEvents{0};      // written by the audio thread, read by all
    std::atomic<std::uint64_t> _lostEvents{0};      // written by control threads, read by all
    std::atomic<bool> _mustSilence{false};          // set by control threads after a loss, cleared by the audio thread
    std::atomic<std::uint64_t> _stalledAt{~0ULL};  // control threads: block count at which the audio thread stood still
};

}  // namespace zelvane

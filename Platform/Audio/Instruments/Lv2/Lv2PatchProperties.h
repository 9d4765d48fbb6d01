// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/AudioTypes.h"
#include "Platform/Audio/Instruments/Lv2/AtomArchive.h"
#include "Platform/Audio/Instruments/Lv2/EventBuffer.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Plugin.h"
#include "Platform/Audio/Instruments/Lv2/MessageRing.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace zelvane {

/// The values of an instance's writable properties. They are set by messages that wait for the next block; what they
/// are is what the plug-in tells of itself, or else what was set last.
class Lv2PatchProperties {
  public:
    /// A value of a property's own kind.
    using Value = std::variant<std::int64_t, double, std::string>;

    explicit Lv2PatchProperties(const Lv2Plugin& plugin);
    Lv2PatchProperties(const Lv2PatchProperties&) = delete;
    Lv2PatchProperties& operator=(const Lv2PatchProperties&) = delete;

    const std::vector<Lv2WritableProperty>& all() const { return _properties; }
    std::optional<std::size_t> rankOf(std::uint32_t urid) const noexcept;
    /// What an atom says of a property.
    Value valueOf(std::size_t rank, const AtomValue& atom) const;

    /// By a property's rank. Control threads.
    Value value(std::size_t rank);
    OSStatus setValue(std::size_t rank, const Value& value);

    /// Sends an event of that type for the next block; false when there is no room. Control threads.
    bool sendEvent(std::uint32_t type, std::span<const std::byte> body);

    /// The properties that the plug-in has changed by itself since this was last asked. Control threads.
    std::vector<std::size_t> takeChanged();

    /// Has the plug-in asked for all values with the next block. Any thread.
    void ask() noexcept { _mustAsk.store(true, std::memory_order_release); }

    /// Whether messages wait. Audio thread, like all that follows; real-time safe.
    bool hasMessages() const noexcept { return !_toPlugin.isEmpty() || _mustAsk.load(std::memory_order_relaxed); }
    /// Adds the messages that wait, as far as there is room.
    void send(EventBuffer& input) noexcept;
    /// Takes in what the plug-in told of its properties.
    void listen(const EventBuffer& output) noexcept;

    /// Takes what the audio thread has heard, so that its queue does not run over. Control threads.
    void update();
    /// What was heard but lost since the queue was full. Any thread.
    std::uint64_t lost() const { return _lost.load(std::memory_order_relaxed); }

  private:
    struct Known {
        AtomValue value;
        std::uint32_t setBy = 0;  // the number of the last message that set it
    };
    struct Outgoing {
        std::uint32_t type = 0;
        std::uint32_t padding = 0;
    };
    struct Heard {
        std::uint32_t rank = 0;
        std::uint32_t type = 0;
        std::uint32_t sent = 0;  // messages that the plug-in had got by then
    };

    bool push(std::uint32_t type, std::span<const std::byte> body);
    void takeHeard();
    void take(const Heard& heard, std::span<const std::byte> body);
    void askFor(EventBuffer& input) noexcept;
    void hear(std::uint32_t property, const LV2_Atom& value) noexcept;
    void hearObject(const LV2_Atom_Object_Body& object, std::uint32_t size) noexcept;

    static constexpr std::size_t kQueueBytes = 65536;

    const std::vector<Lv2WritableProperty> _properties;
    std::vector<std::uint32_t> _urids;         // of the properties, by rank; fixed
    MessageRing _toPlugin{kQueueBytes};        // written under the mutex, read by the audio thread
    MessageRing _fromPlugin{kQueueBytes};      // written by the audio thread, read under the mutex
    std::atomic<bool> _mustAsk{true};          // set by any thread, cleared by the audio thread
    std::atomic<std::uint64_t> _lost{0};       // counted by the audio thread, read by all
    std::uint32_t _sent = 0;                   // messages sent; audio thread
    std::mutex _mutex;                         // control threads against each other; guards what follows
    std::uint32_t _queued = 0;                 // messages queued
    std::vector<std::optional<Known>> _known;  // by rank
    std::vector<bool> _changed;                // likewise
};

}  // namespace zelvane

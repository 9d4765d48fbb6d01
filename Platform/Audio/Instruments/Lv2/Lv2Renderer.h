// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Editor/Lv2EditorFeed.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Instance.h"
#include "Platform/Audio/Instruments/Lv2/Lv2PatchProperties.h"
#include "Platform/Audio/Instruments/Lv2/MidiMemory.h"
#include "Platform/Audio/Units/Instrument.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>

namespace zelvane {

/// What went wrong with an instrument while it rendered. Written by the audio thread, read by all.
struct Lv2Health {
    std::atomic<std::uint64_t> mutedBlocks{0};  ///< runs whose sound held what is no number
    std::atomic<std::uint64_t> slowRuns{0};     ///< runs that took longer than what they rendered lasts
};

/// Renders an instance in blocks of any size: it brings messages, values and bends to the plug-in, keeps what is no
/// sound from getting out, and lets the plug-in sleep while it has nothing to do and has been quiet for a while.
///
/// Audio thread and real-time safe, but for `replace`, which is for control threads while nothing renders.
class Lv2Renderer {
  public:
    /// The values are those of the plug-in's parameters, in their order; others change them at any time.
    Lv2Renderer(const Lv2Plugin& plugin, std::optional<double> bendCents, std::span<const std::atomic<float>> values,
                Lv2PatchProperties& patches, Lv2EditorFeed& editorFeed, Lv2Health& health)
        : _plugin(plugin),
          _midi(bendCents),
          _values(values),
          _patches(patches),
          _editorFeed(editorFeed),
          _health(health) {}

    /// Takes an instance, which is told what messages have said so far, and gives the former one back.
    std::shared_ptr<Lv2Instance> replace(std::shared_ptr<Lv2Instance> instance) noexcept;
    Lv2Instance* instance() const noexcept { return _instance.get(); }
    /// For those who keep it beyond the next `replace`; control threads.
    std::shared_ptr<Lv2Instance> sharedInstance() const { return _instance; }

    RenderResult render(std::span<const TimedMIDI> events, float* left, float* right, std::uint32_t frames) noexcept;

    /// Ends all notes with the next block and mutes what still sounds after them.
    void endSound() noexcept;
    /// Has all bends sent with the next block.
    void sendBendsAgain() noexcept;
    /// Lets the plug-in run for a while, whether or not it has something to play.
    void wake() noexcept { _quietFrames = 0; }

  private:
    enum class Opening { nothing, bends, everything, endNotes, pedals };

    struct Part {
        std::span<const TimedMIDI> events;  // with offsets from the beginning of the block
        std::uint32_t first = 0;
        std::uint32_t frames = 0;
        std::size_t taken = 0;
    };

    bool mayStayAsleep(std::span<const TimedMIDI> events, std::uint32_t frames) const noexcept;
    void renderPart(Part& part, float* left, float* right) noexcept;
    void sendOpening() noexcept;
    void sendEvents(Part& part) noexcept;
    void runInTime(std::uint32_t frames) noexcept;
    void deliver(const Part& part, float* left, float* right) noexcept;

    const Lv2Plugin& _plugin;
    std::shared_ptr<Lv2Instance> _instance;
    MidiMemory _midi;
    const std::span<const std::atomic<float>> _values;
    Lv2PatchProperties& _patches;
    Lv2EditorFeed& _editorFeed;
    Lv2Health& _health;
    Opening _opening = Opening::nothing;
    bool _isMuted = false;  // until the next note, or until the old ones are over
    std::uint64_t _quietFrames = 0;
};

}  // namespace zelvane

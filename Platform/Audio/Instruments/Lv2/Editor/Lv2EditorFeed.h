// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Lv2Plugin.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Ports.h"
#include "Platform/Audio/Instruments/Lv2/MessageRing.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace zelvane {

/// What a running plug-in puts out for its editor: the values of its control outputs, and events. The audio thread
/// writes while there is an editor, the main thread reads.
class Lv2EditorFeed {
  public:
    explicit Lv2EditorFeed(const Lv2Plugin& plugin);
    Lv2EditorFeed(const Lv2EditorFeed&) = delete;
    Lv2EditorFeed& operator=(const Lv2EditorFeed&) = delete;

    /// For an editor that knows nothing yet of what was before. Main thread.
    void open() noexcept {
        takeEvents([](std::uint32_t, std::span<const std::byte>) {});
        _isOpen.store(true, std::memory_order_release);
    }
    void close() noexcept { _isOpen.store(false, std::memory_order_release); }

    /// Audio thread, real-time safe.
    bool isOpen() const noexcept { return _isOpen.load(std::memory_order_acquire); }
    /// After a run. Events for which there is no room are lost to the editor.
    void listen(Lv2Ports& ports) noexcept;

    /// Calls with each event's port and the event as an atom. Main thread.
    template <typename Take>
    void takeEvents(const Take& take) {
        while (const auto message = _events.front()) {
            const auto* header = reinterpret_cast<const Header*>(message->data());
            take(header->port, message->subspan(sizeof(Header)));
            _events.pop();
        }
    }
    /// The ports of control outputs, and their values by place. Main thread.
    const std::vector<std::uint32_t>& outputs() const { return _outputs; }
    float value(std::size_t place) const noexcept { return _values[place].load(std::memory_order_relaxed); }

  private:
    struct Header {
        std::uint32_t port = 0;
        std::uint32_t padding = 0;
    };

    static constexpr std::size_t kQueueBytes = 65536;

    const std::vector<std::uint32_t> _outputs;
    const std::unique_ptr<std::atomic<float>[]> _values;  // written by the audio thread, read by the main thread
    MessageRing _events{kQueueBytes};                     // likewise
    std::atomic<bool> _isOpen{false};                     // written by the main thread, read by the audio thread
};

}  // namespace zelvane
